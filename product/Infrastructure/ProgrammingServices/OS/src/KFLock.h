#pragma once

#include "KFMutex.h"

// Holds a KFMutex for the length of a scope.
class KF_SCOPED_CAPABILITY KFLock {
public:
    /// Blocks until the mutex is taken; the mutex must outlive the lock.
    explicit KFLock(KFMutex& mutex) KF_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.acquire(); }
    ~KFLock() KF_RELEASE() { m_mutex.release(); }

    KFLock(const KFLock&) = delete;
    KFLock& operator=(const KFLock&) = delete;

private:
    KFMutex& m_mutex;
};
