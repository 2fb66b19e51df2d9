#include "KFMutex.h"

#include "detail/KFLock.h"
#include "detail/LimitedWait.h"

static const int LONGEST_WAIT = 64; // pauses of the processor, some 20 nanoseconds each

namespace {

/// Tells the processor that this thread only waits.
inline void relax() {
#if defined(__i386__) || defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__) || defined(__arm64__)
    __asm__ __volatile__("yield");
#endif
}

} // namespace

// The attribute object stays initialised as long as the mutex lives and is never destroyed: neither host
// keeps anything in it that would have to be given back.
KFMutex::KFMutex(bool recursive) {
    pthread_mutexattr_init(&m_mutexAttr);
    if (recursive)
        pthread_mutexattr_settype(&m_mutexAttr, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&m_mutex, &m_mutexAttr);
}

KFMutex::~KFMutex() {
    pthread_mutex_destroy(&m_mutex);
}

// Who holds one of the framework's locks gives it back within a fraction of a microsecond, so a short wait is
// mostly enough, and saves both threads their way through the kernel. It looks ever more seldom, since each
// look takes the mutex's memory from the processor whose thread is about to give it back.
int KFMutex::acquireContended() {
    for (int pauses = 1; pauses <= LONGEST_WAIT; pauses *= 2) {
        for (int i = 0; i < pauses; ++i)
            relax();
        if (pthread_mutex_trylock(&m_mutex) == 0)
            return 0;
    }
    return pthread_mutex_lock(&m_mutex);
}

bool kf::detail::acquireWithin(KFMutex& mutex, int milliseconds) {
    LimitedWait wait(milliseconds);
    while (!mutex.tryacquire())
        if (!wait.sleep())
            return false;
    return true;
}
