#pragma once

#include "KFMutex.h"

#include <atomic>
#include <memory>
#include <pthread.h>

/// An abstract thread. A subclass supplies the body in run(), and overrides onTerminate() to ask that body to
/// finish:
///
///     constructed -> start() -> run() executes -> run() has returned -> (stop(), start() again) -> destroyed
///
/// A subclass must call stop(), or see that run() has returned, before its own destructor ends: the destructor
/// of this class waits for the body, but it can no longer call the subclass's onTerminate().
///
/// Thread: run() executes on the new thread, everything else on its caller's. start(), stop(),
/// waitForThreadTermination() and the destructor belong to the owner of the object. Several threads may call
/// stop() and waitForThreadTermination() at once; each call returns when the body has ended.
class KFThread {
public:
    /// Does not start the thread. The name is copied. A thread with a name announces its begin and its end to
    /// the tracer, one with a null pointer does not.
    explicit KFThread(const char* name);
    /// Waits for a body that is still running. Does nothing for a thread that was never started, could not be
    /// started, or was already waited for.
    virtual ~KFThread();

    KFThread(const KFThread&) = delete;
    KFThread& operator=(const KFThread&) = delete;

    /// Creates the thread; true if that worked. In either case isRunning() is true afterwards, until a body
    /// has returned. If the body is still running: false, and no second thread is created.
    bool start();
    /// Calls onTerminate() and waits until run() has returned; returns at once if there is nothing to wait
    /// for. Called by the body itself, it only calls onTerminate().
    void stop();

    /// True from start() until run() has returned.
    /// DELIBERATE: also true after a start() that failed, and then for good.
    bool isRunning() const { return m_running; }
    /// The thread's handle, valid once start() has returned true. The caller must not join or detach it: the
    /// object does.
    pthread_t getHandle() const { return m_handle; }

    /// Waits until the thread's body has returned, without asking it to. Returns pthread_join's result; ESRCH
    /// if there is nothing to wait for, EDEADLK if the thread would wait for itself.
    static int waitForThreadTermination(KFThread* thread);
    static pthread_t getCurrentThreadId();
    /// The entry function of every thread: announces it, executes the body, clears isRunning(). Returns null.
    /// @param arg  the KFThread, not null (checked)
    static void* threadStart(void* arg);

    /// Suspends the calling thread; a signal may end the wait early.
    static void msleep(unsigned int milliseconds);
    static void sleep(unsigned int seconds);

protected:
    /// The body. It must not let an exception escape.
    virtual void run() = 0;

public:
    /// Asks the body to finish. Called by stop() on its caller's thread; does nothing in this class.
    virtual void onTerminate() {} // subclasses built elsewhere expect it after run()

private:
    int join();

    std::unique_ptr<char[]> m_name; // null: nameless
    std::atomic<bool> m_running{false};
    std::atomic<pthread_t> m_handle{};
    pthread_attr_t m_attr;

    // The thread is joined exactly once, whoever waits for it; a handle without a thread is never joined.
    KFMutex m_joinLock{true};
    std::atomic<bool> m_joinable{false};
};
