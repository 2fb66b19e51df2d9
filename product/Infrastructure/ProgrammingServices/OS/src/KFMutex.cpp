#include "KFMutex.h"

// The attribute object stays initialised as long as the mutex lives and is never destroyed: neither host
// keeps anything in it that would have to be given back.
KFMutex::KFMutex(bool recursive) {
    pthread_mutexattr_init(&m_mutexAttr);
    if (recursive) {
        pthread_mutexattr_settype(&m_mutexAttr, PTHREAD_MUTEX_RECURSIVE);
    }
    pthread_mutex_init(&m_mutex, &m_mutexAttr);
}

KFMutex::~KFMutex() {
    pthread_mutex_destroy(&m_mutex);
}

int KFMutex::acquire() {
    return pthread_mutex_lock(&m_mutex);
}

bool KFMutex::tryacquire() {
    return pthread_mutex_trylock(&m_mutex) == 0;
}

int KFMutex::release() {
    return pthread_mutex_unlock(&m_mutex);
}
