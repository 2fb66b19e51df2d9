#pragma once

#include "KFMutex.h"

namespace kf::detail {

/// Holds a KFMutex for a scope.
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

/// Takes the mutex, or gives up after this many milliseconds and returns false. Async-signal-safe: a handler
/// may have interrupted the holder, or a thread that was about to become it.
bool acquireWithin(KFMutex& mutex, int milliseconds) KF_TRY_ACQUIRE(true, mutex);

} // namespace kf::detail
