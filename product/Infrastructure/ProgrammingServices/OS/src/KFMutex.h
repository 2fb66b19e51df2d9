#pragma once

#include "ThreadAnnotations.h"

#include <pthread.h>

// A POSIX mutex as an object. The framework's own locks are all recursive: operations of the tracer and the
// logger that take the lock call each other.
//
// Every operation returns the result of its POSIX call unchecked. Thread: any. Prefer KFLock to pairs of
// acquire() and release().
class KF_CAPABILITY("mutex") KFMutex {
public:
    /// @param recursive  true: the thread that holds the mutex may take it again and releases it as often;
    ///                   false: the platform's default type, where taking it twice is undefined.
    explicit KFMutex(bool recursive);
    /// The mutex must be free.
    virtual ~KFMutex();

    KFMutex(const KFMutex&) = delete;
    KFMutex& operator=(const KFMutex&) = delete;

    /// Blocks until the mutex is free, and takes it. Returns pthread_mutex_lock's result (0: taken).
    int acquire() KF_ACQUIRE() { return pthread_mutex_trylock(&m_mutex) == 0 ? 0 : acquireContended(); }
    /// Takes the mutex if that is possible at once; never blocks.
    bool tryacquire() KF_TRY_ACQUIRE(true) { return pthread_mutex_trylock(&m_mutex) == 0; }
    /// Releases the mutex. Returns pthread_mutex_unlock's result (0: released).
    int release() KF_RELEASE() { return pthread_mutex_unlock(&m_mutex); }

    /// The POSIX mutex, borrowed for as long as this object lives.
    pthread_mutex_t* getHandle() { return &m_mutex; }

private:
    int acquireContended();

    pthread_mutexattr_t m_mutexAttr;
    pthread_mutex_t m_mutex;
};
