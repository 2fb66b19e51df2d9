#include "Diagnostics.h"
#include "RunLoop.h"
#include "String.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

const CFRunLoopMode kCFRunLoopDefaultMode = CFSTR("kCFRunLoopDefaultMode");
const CFRunLoopMode kCFRunLoopCommonModes = CFSTR("kCFRunLoopCommonModes");

namespace LinuxPlatform {
namespace {

/// Longer than this is for ever.
const CFTimeInterval LONGEST_WAIT = 1.0e9;

std::mutex& MembershipLock() {
    static std::mutex& lock = *new std::mutex;
    return lock;
}

bool IsCommonModes(const std::u16string& mode) {
    return mode == kCFRunLoopCommonModes->Units();
}

/// Whether a source added under `added` is served by a run in `mode`.
bool Serves(const std::u16string& added, const std::u16string& mode) {
    return added == mode || (IsCommonModes(added) && mode == kCFRunLoopDefaultMode->Units());
}

} // namespace

WakeUp::WakeUp() : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!IsOpen())
        Report("CoreFoundation: no descriptor to wake up a run loop by: %s", std::strerror(errno));
}

WakeUp::~WakeUp() {
    if (IsOpen())
        close(m_descriptor);
}

void WakeUp::Signal() const {
    const std::uint64_t one = 1;
    // The only failure left is a full counter, and then it is readable anyway.
    [[maybe_unused]] const ssize_t written = write(m_descriptor, &one, sizeof(one));
}

void WakeUp::Clear() const {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(m_descriptor, &count, sizeof(count));
}

void RunLoopSource::Invalidate() {
    const Owned<RunLoopSource> keepAlive = Owned<RunLoopSource>::Share(this);
    std::vector<Owned<RunLoopSource>> removed; // released after the lock is
    const std::lock_guard<std::mutex> lock(MembershipLock());
    m_isValid = false;
    for (RunLoop* loop : m_loops)
        loop->TakeOut(*this, nullptr, removed);
    m_loops.clear();
}

/// Makes an activation the innermost one while it lasts.
class RunLoop::ActivationScope {
public:
    explicit ActivationScope(RunLoop& loop) : m_loop(loop) {
        const std::lock_guard<std::mutex> lock(MembershipLock());
        activation.outer = m_loop.m_innermost;
        m_loop.m_innermost = &activation;
    }
    ActivationScope(const ActivationScope&) = delete;
    ActivationScope& operator=(const ActivationScope&) = delete;
    ~ActivationScope() {
        const std::lock_guard<std::mutex> lock(MembershipLock());
        m_loop.m_innermost = activation.outer;
    }

    Activation activation;

private:
    RunLoop& m_loop;
};

RunLoop::RunLoop() : Object(TypeID::RunLoop, Life::OfThread) {}

RunLoop::~RunLoop() {
    std::vector<Membership> released; // after the lock is
    const std::lock_guard<std::mutex> lock(MembershipLock());
    released.swap(m_memberships);
    for (const Membership& membership : released) {
        std::vector<RunLoop*>& loops = membership.source->m_loops;
        loops.erase(std::remove(loops.begin(), loops.end(), this), loops.end());
    }
}

/// The main thread's loop stays until the process is gone. A signal handler may end the process while this
/// thread, or the one interrupted, holds the membership lock, which a loop's end has to take.
struct RunLoop::OfThread {
    RunLoop* const loop = HandOver(std::make_unique<RunLoop>());

    ~OfThread() {
        const bool isMainThread = ::syscall(SYS_gettid) == ::getpid();
        if (!isMainThread)
            CFRelease(loop);
    }
};

RunLoop& RunLoop::Current() {
    thread_local const OfThread current;
    return *current.loop;
}

void RunLoop::Add(RunLoopSource& source, const std::u16string& mode) {
    {
        const std::lock_guard<std::mutex> lock(MembershipLock());
        const auto isSame = [&](const Membership& other) {
            return other.source.Get() == &source && other.mode == mode;
        };
        if (!source.IsValid() || std::any_of(m_memberships.begin(), m_memberships.end(), isSame))
            return;
        m_memberships.push_back({Owned<RunLoopSource>::Share(&source), mode});
        source.m_loops.push_back(this);
    }
    Wake();
}

void RunLoop::Remove(RunLoopSource& source, const std::u16string& mode) {
    std::vector<Owned<RunLoopSource>> removed; // released after the lock is
    const std::lock_guard<std::mutex> lock(MembershipLock());
    TakeOut(source, &mode, removed);
    for (std::size_t count = 0; count < removed.size(); ++count)
        source.m_loops.erase(std::find(source.m_loops.begin(), source.m_loops.end(), this));
}

void RunLoop::TakeOut(const RunLoopSource& source, const std::u16string* mode,
                      std::vector<Owned<RunLoopSource>>& removed) {
    for (auto membership = m_memberships.begin(); membership != m_memberships.end();) {
        if (membership->source.Get() != &source || (mode && membership->mode != *mode)) {
            ++membership;
            continue;
        }
        removed.push_back(std::move(membership->source));
        membership = m_memberships.erase(membership);
    }
    Wake();
}

bool RunLoop::Contains(const RunLoopSource& source, const std::u16string& mode) const {
    const std::lock_guard<std::mutex> lock(MembershipLock());
    return std::any_of(m_memberships.begin(), m_memberships.end(), [&](const Membership& membership) {
        return membership.source.Get() == &source && Serves(membership.mode, mode);
    });
}

std::vector<Owned<RunLoopSource>> RunLoop::SourcesIn(const std::u16string& mode) const {
    std::vector<Owned<RunLoopSource>> sources;
    const std::lock_guard<std::mutex> lock(MembershipLock());
    for (const Membership& membership : m_memberships) {
        const auto isSame = [&](const auto& other) { return other.Get() == membership.source.Get(); };
        if (Serves(membership.mode, mode) && std::none_of(sources.begin(), sources.end(), isSame))
            sources.push_back(membership.source);
    }
    return sources;
}

bool RunLoop::IsStopped(const Activation& activation) const {
    const std::lock_guard<std::mutex> lock(MembershipLock());
    return activation.isStopped;
}

void RunLoop::Sleep(std::vector<pollfd>& descriptors, const Clock::time_point* deadline) {
    timespec timeout{};
    if (deadline) {
        const auto left = std::max(*deadline - Clock::now(), Clock::duration::zero());
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        timeout.tv_sec = static_cast<time_t>(seconds.count());
        timeout.tv_nsec = static_cast<long>(std::chrono::nanoseconds(left - seconds).count());
    }
    m_isWaiting = true;
    const int ready = ppoll(descriptors.data(), descriptors.size(), deadline ? &timeout : nullptr, nullptr);
    m_isWaiting = false;
    if (ready > 0)
        return;
    // Time is up, or a signal came in between: nothing counts as ready.
    for (pollfd& descriptor : descriptors)
        descriptor.revents = 0;
}

bool RunLoop::DeliverReady(const std::vector<Owned<RunLoopSource>>& sources, const std::u16string& mode,
                           const Activation& activation, const Clock::time_point* deadline, bool onlyOne) {
    std::vector<pollfd> descriptors{{m_wakeUp.Descriptor(), POLLIN, 0}};
    std::vector<std::size_t> ends;
    for (const auto& source : sources) {
        source->AppendDescriptors(descriptors);
        ends.push_back(descriptors.size());
    }
    Sleep(descriptors, deadline);
    if (descriptors[0].revents != 0)
        m_wakeUp.Clear();
    bool handled = false;
    std::size_t next = 1;
    for (std::size_t index = 0; index < sources.size(); ++index) {
        bool isReady = false;
        for (; next < ends[index]; ++next)
            isReady = isReady || descriptors[next].revents != 0;
        // A callback may have taken out the sources after its own.
        if (!isReady || !Contains(*sources[index].Get(), mode))
            continue;
        handled = sources[index]->Deliver() || handled;
        if ((handled && onlyOne) || IsStopped(activation))
            break;
    }
    return handled;
}

CFRunLoopRunResult RunLoop::Run(const std::u16string& mode, CFTimeInterval seconds,
                                bool returnAfterSourceHandled) {
    if (IsCommonModes(mode))
        return kCFRunLoopRunFinished;
    const bool isLimited = seconds < LONGEST_WAIT;
    const auto wait = std::chrono::duration<double>(isLimited ? std::max(seconds, 0.0) : 0.0);
    const Clock::time_point deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(wait);
    ActivationScope scope(*this);
    for (;;) {
        const auto sources = SourcesIn(mode);
        if (sources.empty())
            return kCFRunLoopRunFinished;
        const bool handled = DeliverReady(sources, mode, scope.activation, isLimited ? &deadline : nullptr,
                                          returnAfterSourceHandled);
        if (handled && returnAfterSourceHandled)
            return kCFRunLoopRunHandledSource;
        if (IsStopped(scope.activation))
            return kCFRunLoopRunStopped;
        if (isLimited && Clock::now() >= deadline)
            return kCFRunLoopRunTimedOut;
    }
}

void RunLoop::Stop() {
    {
        const std::lock_guard<std::mutex> lock(MembershipLock());
        if (m_innermost)
            m_innermost->isStopped = true;
    }
    Wake();
}

} // namespace LinuxPlatform

using namespace LinuxPlatform;

CFTypeID CFRunLoopGetTypeID() {
    return static_cast<CFTypeID>(TypeID::RunLoop);
}

CFRunLoopRef CFRunLoopGetCurrent() {
    return &RunLoop::Current();
}

void CFRunLoopRun() {
    RunLoop::Current().Run(kCFRunLoopDefaultMode->Units(), LONGEST_WAIT, false);
}

CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled) {
    return RunLoop::Current().Run(mode->Units(), seconds, returnAfterSourceHandled);
}

Boolean CFRunLoopIsWaiting(CFRunLoopRef loop) {
    return loop->IsWaiting();
}

void CFRunLoopWakeUp(CFRunLoopRef loop) {
    loop->Wake();
}

void CFRunLoopStop(CFRunLoopRef loop) {
    loop->Stop();
}

Boolean CFRunLoopContainsSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    return loop->Contains(*source, mode->Units());
}

void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    loop->Add(*source, mode->Units());
}

void CFRunLoopRemoveSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    loop->Remove(*source, mode->Units());
}

CFTypeID CFRunLoopSourceGetTypeID() {
    return static_cast<CFTypeID>(TypeID::RunLoopSource);
}

void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source) {
    source->Invalidate();
}

Boolean CFRunLoopSourceIsValid(CFRunLoopSourceRef source) {
    return source->IsValid();
}
