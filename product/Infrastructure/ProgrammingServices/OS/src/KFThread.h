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
/// waitForThreadTermination() and the destructor belong to the owner of the object; stop() and
/// waitForThreadTermination() may meet on several threads, each of which returns when the body has ended.
class KFThread {
public:
    /// Does not start the thread. The name is copied; with a name the thread announces its begin and its end
    /// to the tracer, with a null pointer it does not.
    explicit KFThread(const char* name);
    /// Waits for a body that is still running. Nothing happens for a thread that was never started, could not
    /// be started, or has been waited for already.
    virtual ~KFThread();

    KFThread(const KFThread&) = delete;
    KFThread& operator=(const KFThread&) = delete;

    /// Creates the thread; true when that worked. Whatever happens, isRunning() is true afterwards until a
    /// body has returned. On a thread whose body is still running: false, and no second thread is created.
    bool start();
    /// Calls onTerminate() and waits until run() has returned; returns at once when there is nothing to wait
    /// for. Called by the body itself it only calls onTerminate().
    void stop();

    /// True from start() until run() has returned.
    /// DELIBERATE: also true after a start() that failed, and then for good.
    bool isRunning() const { return m_running; }
    /// The thread's handle, meaningful once start() has returned true. Not to be joined or detached by the
    /// caller: the object does that.
    pthread_t getHandle() const { return m_handle; }

    /// Waits until the thread's body has returned, without asking it to. Returns pthread_join's result; ESRCH
    /// when there is nothing to wait for, EDEADLK when the thread would wait for itself.
    static int waitForThreadTermination(KFThread* thread);
    static pthread_t getCurrentThreadId();
    /// The entry of every thread: announces it, executes the body, clears isRunning(). Returns null.
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
    virtual void onTerminate() {} // behind run(), as subclasses built elsewhere expect

private:
    int join();

    std::unique_ptr<char[]> m_name; // null: nameless
    std::atomic<bool> m_running{false};
    std::atomic<pthread_t> m_handle{};
    pthread_attr_t m_attr;

    // A thread is joined exactly once, whoever waits for it, and a handle that no thread stands behind never.
    KFMutex m_joinLock{true};
    std::atomic<bool> m_joinable{false};
};
