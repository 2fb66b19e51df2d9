#include "KFThread.h"

#include "ContractChecks.h"
#include "detail/KFLock.h"
#include "detail/ThreadNotices.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <unistd.h>

using namespace kf::detail;

// No operation here is traced, because the tracer is built on this class. Only begin and end are announced.

static const char KF_SOURCE[] = "product/Infrastructure/ProgrammingServices/OS/src/KFThread";

/// The attributes are never destroyed: on neither host do they hold anything that would have to be released.
KFThread::KFThread(const char* name) {
    if (name != nullptr) {
        const std::size_t size = strlen(name) + 1;
        m_name.reset(new char[size]);
        memcpy(m_name.get(), name, size);
    }
    KF_REQUIRE(!pthread_attr_init(&m_attr), 46);
    KF_REQUIRE(!pthread_attr_setdetachstate(&m_attr, PTHREAD_CREATE_JOINABLE), 47);
}

KFThread::~KFThread() {
    if (m_running)
        KFThread::onTerminate(); // the subclass and its onTerminate() are already gone
    join();                      // even if run() has returned: a thread that nobody joins keeps its stack
}

bool KFThread::start() {
    if (m_joinable) {
        if (m_running)
            return false;
        join();
    }
    m_running = true; // before the thread exists, since it clears this; stays set if creation fails
    m_joinable = true;
    pthread_t handle;
    if (pthread_create(&handle, &m_attr, threadStart, this) != 0) {
        m_joinable = false;
        return false;
    }
    m_handle = handle;
    return true;
}

void KFThread::stop() {
    onTerminate();
    join();
}

int KFThread::waitForThreadTermination(KFThread* thread) {
    return thread->join();
}

/// The lock makes every waiter wait until the body has ended, not only the one that joins.
int KFThread::join() {
    if (m_joinable && pthread_equal(m_handle, pthread_self()))
        return EDEADLK;
    KFLock lock(m_joinLock);
    if (!m_joinable)
        return ESRCH;
    const int result = pthread_join(m_handle, nullptr);
    m_joinable = false;
    return result;
}

void* KFThread::threadStart(void* arg) {
    KF_REQUIRE(arg != NULL, 156);
    if (arg == nullptr)
        return nullptr;
    KFThread* thread = static_cast<KFThread*>(arg);
    // start() stores the same handle, but possibly after the body has begun.
    thread->m_handle = pthread_self();
    if (thread->m_name)
        announceThreadBegin(thread->m_name.get());
    thread->run();
    if (thread->m_name)
        announceThreadEnd();
    thread->m_running = false;
    return nullptr;
}

pthread_t KFThread::getCurrentThreadId() {
    return pthread_self();
}

void KFThread::msleep(unsigned int milliseconds) {
    usleep(milliseconds * 1000);
}

void KFThread::sleep(unsigned int seconds) {
    ::sleep(seconds);
}
