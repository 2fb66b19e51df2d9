#pragma once

// Run loops and their sources.
//
// A source has descriptors; its loop sleeps in ppoll on the descriptors of all its sources and on one of its
// own, by which other threads wake it. One lock guards the membership of all sources in all loops. It is
// never held while a source delivers or is destroyed; the only lock that may be taken under it is that of the
// live objects.

#include "Object.h"

#include <CoreFoundation/CFRunLoop.h>

#include <atomic>
#include <chrono>
#include <poll.h>
#include <vector>

namespace LinuxPlatform {

/// An event counter that poll can wait for; several calls of signal() before one of clear() count as one.
class WakeUp {
public:
    WakeUp();
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;
    ~WakeUp();

    /// False if the system had no descriptor left.
    bool isOpen() const { return m_descriptor >= 0; }
    int descriptor() const { return m_descriptor; }
    void signal() const;
    void clear() const;

private:
    const int m_descriptor;
};

/// What a CFRunLoopSourceRef points to. Subclasses have something to deliver.
class RunLoopSource : public Object {
public:
    /// Adds the descriptors that are readable when deliver() may have something to do. Called before each
    /// sleep.
    virtual void appendDescriptors(std::vector<pollfd>& descriptors) const = 0;

    /// Calls at most one callback, on the loop's thread; returns whether it has called one. If anything is
    /// left to deliver, a descriptor must stay readable.
    virtual bool deliver() = 0;

    void invalidate();
    bool isValid() const { return m_isValid; }

protected:
    RunLoopSource() : Object(TypeID::RunLoopSource, Life::Counted) {}

private:
    friend class RunLoop;

    std::atomic<bool> m_isValid{true};
    std::vector<RunLoop*> m_loops; ///< the loops that contain it; guarded by the membership lock
};

/// What a CFRunLoopRef points to.
class RunLoop final : public Object {
public:
    RunLoop();
    ~RunLoop() override;

    /// The calling thread's loop.
    static RunLoop& current();

    void add(RunLoopSource& source, const std::u16string& mode);
    void remove(RunLoopSource& source, const std::u16string& mode);
    bool contains(const RunLoopSource& source, const std::u16string& mode) const;

    CFRunLoopRunResult run(const std::u16string& mode, CFTimeInterval seconds, bool returnAfterSourceHandled);
    void stop();
    void wake() { m_wakeUp.signal(); }
    bool isWaiting() const { return m_isWaiting; }

private:
    friend class RunLoopSource;
    using Clock = std::chrono::steady_clock;

    /// One call of run(); a callback may run the loop again inside it.
    struct Activation {
        Activation* outer = nullptr;
        bool isStopped = false;
    };
    class ActivationScope;
    struct OfThread;

    struct Membership {
        Owned<RunLoopSource> source;
        std::u16string mode;
    };

    std::vector<Owned<RunLoopSource>> sourcesIn(const std::u16string& mode) const;
    bool isStopped(const Activation& activation) const;
    void sleep(std::vector<pollfd>& descriptors, const Clock::time_point* deadline);
    bool deliverReady(const std::vector<Owned<RunLoopSource>>& sources, const std::u16string& mode,
                      const Activation& activation, const Clock::time_point* deadline, bool onlyOne);
    /// Moves the memberships of a source, in one mode or (null) in all, to `removed`. The lock is held.
    void removeMemberships(const RunLoopSource& source, const std::u16string* mode,
                           std::vector<Owned<RunLoopSource>>& removed);

    WakeUp m_wakeUp;
    std::atomic<bool> m_isWaiting{false};
    std::vector<Membership> m_memberships; ///< guarded by the membership lock
    Activation* m_innermost = nullptr;     ///< guarded by the membership lock
};

} // namespace LinuxPlatform
