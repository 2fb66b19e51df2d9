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

/// In seconds; anything longer counts as for ever.
const CFTimeInterval LONGEST_WAIT = 1.0e9;

std::mutex& membershipLock() {
    static std::mutex& lock = *new std::mutex;
    return lock;
}

bool isCommonModes(const std::u16string& mode) {
    return mode == kCFRunLoopCommonModes->units();
}

/// Whether a source added under `added` is served by a run in `mode`.
bool serves(const std::u16string& added, const std::u16string& mode) {
    return added == mode || (isCommonModes(added) && mode == kCFRunLoopDefaultMode->units());
}

} // namespace

WakeUp::WakeUp() : m_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!isOpen())
        report("CoreFoundation: no descriptor to wake up a run loop by: %s", std::strerror(errno));
}

WakeUp::~WakeUp() {
    if (isOpen())
        close(m_descriptor);
}

void WakeUp::signal() const {
    const std::uint64_t one = 1;
    // The only failure left is a full counter, and that is readable as well.
    [[maybe_unused]] const ssize_t written = write(m_descriptor, &one, sizeof(one));
}

void WakeUp::clear() const {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(m_descriptor, &count, sizeof(count));
}

void RunLoopSource::invalidate() {
    const Owned<RunLoopSource> keepAlive = Owned<RunLoopSource>::share(this);
    std::vector<Owned<RunLoopSource>> removed; // released after the lock
    const std::lock_guard<std::mutex> lock(membershipLock());
    m_isValid = false;
    for (RunLoop* loop : m_loops)
        loop->removeMemberships(*this, nullptr, removed);
    m_loops.clear();
}

/// Makes an activation the innermost one during its lifetime.
class RunLoop::ActivationScope {
public:
    explicit ActivationScope(RunLoop& loop) : m_loop(loop) {
        const std::lock_guard<std::mutex> lock(membershipLock());
        activation.outer = m_loop.m_innermost;
        m_loop.m_innermost = &activation;
    }
    ActivationScope(const ActivationScope&) = delete;
    ActivationScope& operator=(const ActivationScope&) = delete;
    ~ActivationScope() {
        const std::lock_guard<std::mutex> lock(membershipLock());
        m_loop.m_innermost = activation.outer;
    }

    Activation activation;

private:
    RunLoop& m_loop;
};

RunLoop::RunLoop() : Object(TypeID::RunLoop, Life::OfThread) {}

RunLoop::~RunLoop() {
    std::vector<Membership> released; // released after the lock
    const std::lock_guard<std::mutex> lock(membershipLock());
    released.swap(m_memberships);
    for (const Membership& membership : released) {
        std::vector<RunLoop*>& loops = membership.source->m_loops;
        loops.erase(std::remove(loops.begin(), loops.end(), this), loops.end());
    }
}

/// The main thread's loop is never released. A signal handler may end the process while this thread, or the
/// interrupted one, holds the membership lock, which a loop's destructor takes.
struct RunLoop::OfThread {
    RunLoop* const loop = handOver(std::make_unique<RunLoop>());

    ~OfThread() {
        const bool isMainThread = ::syscall(SYS_gettid) == ::getpid();
        if (!isMainThread)
            CFRelease(loop);
    }
};

RunLoop& RunLoop::current() {
    thread_local const OfThread current;
    return *current.loop;
}

void RunLoop::add(RunLoopSource& source, const std::u16string& mode) {
    {
        const std::lock_guard<std::mutex> lock(membershipLock());
        const auto isSame = [&](const Membership& other) {
            return other.source.get() == &source && other.mode == mode;
        };
        if (!source.isValid() || std::any_of(m_memberships.begin(), m_memberships.end(), isSame))
            return;
        m_memberships.push_back({Owned<RunLoopSource>::share(&source), mode});
        source.m_loops.push_back(this);
    }
    wake();
}

void RunLoop::remove(RunLoopSource& source, const std::u16string& mode) {
    std::vector<Owned<RunLoopSource>> removed; // released after the lock
    const std::lock_guard<std::mutex> lock(membershipLock());
    removeMemberships(source, &mode, removed);
    for (std::size_t count = 0; count < removed.size(); ++count)
        source.m_loops.erase(std::find(source.m_loops.begin(), source.m_loops.end(), this));
}

void RunLoop::removeMemberships(const RunLoopSource& source, const std::u16string* mode,
                                std::vector<Owned<RunLoopSource>>& removed) {
    for (auto membership = m_memberships.begin(); membership != m_memberships.end();) {
        if (membership->source.get() != &source || (mode && membership->mode != *mode)) {
            ++membership;
            continue;
        }
        removed.push_back(std::move(membership->source));
        membership = m_memberships.erase(membership);
    }
    wake();
}

bool RunLoop::contains(const RunLoopSource& source, const std::u16string& mode) const {
    const std::lock_guard<std::mutex> lock(membershipLock());
    return std::any_of(m_memberships.begin(), m_memberships.end(), [&](const Membership& membership) {
        return membership.source.get() == &source && serves(membership.mode, mode);
    });
}

std::vector<Owned<RunLoopSource>> RunLoop::sourcesIn(const std::u16string& mode) const {
    std::vector<Owned<RunLoopSource>> sources;
    const std::lock_guard<std::mutex> lock(membershipLock());
    for (const Membership& membership : m_memberships) {
        const auto isSame = [&](const auto& other) { return other.get() == membership.source.get(); };
        if (serves(membership.mode, mode) && std::none_of(sources.begin(), sources.end(), isSame))
            sources.push_back(membership.source);
    }
    return sources;
}

bool RunLoop::isStopped(const Activation& activation) const {
    const std::lock_guard<std::mutex> lock(membershipLock());
    return activation.isStopped;
}

void RunLoop::sleep(std::vector<pollfd>& descriptors, const Clock::time_point* deadline) {
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
    // A timeout, or an interruption by a signal: nothing is ready.
    for (pollfd& descriptor : descriptors)
        descriptor.revents = 0;
}

bool RunLoop::deliverReady(const std::vector<Owned<RunLoopSource>>& sources, const std::u16string& mode,
                           const Activation& activation, const Clock::time_point* deadline, bool onlyOne) {
    std::vector<pollfd> descriptors{{m_wakeUp.descriptor(), POLLIN, 0}};
    std::vector<std::size_t> ends;
    for (const auto& source : sources) {
        source->appendDescriptors(descriptors);
        ends.push_back(descriptors.size());
    }
    sleep(descriptors, deadline);
    if (descriptors[0].revents != 0)
        m_wakeUp.clear();
    bool handled = false;
    std::size_t next = 1;
    for (std::size_t index = 0; index < sources.size(); ++index) {
        bool isReady = false;
        for (; next < ends[index]; ++next)
            isReady = isReady || descriptors[next].revents != 0;
        // A callback may have removed the sources behind its own.
        if (!isReady || !contains(*sources[index].get(), mode))
            continue;
        handled = sources[index]->deliver() || handled;
        if ((handled && onlyOne) || isStopped(activation))
            break;
    }
    return handled;
}

CFRunLoopRunResult RunLoop::run(const std::u16string& mode, CFTimeInterval seconds,
                                bool returnAfterSourceHandled) {
    if (isCommonModes(mode))
        return kCFRunLoopRunFinished;
    const bool isLimited = seconds < LONGEST_WAIT;
    const auto wait = std::chrono::duration<double>(isLimited ? std::max(seconds, 0.0) : 0.0);
    const Clock::time_point deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(wait);
    ActivationScope scope(*this);
    for (;;) {
        const auto sources = sourcesIn(mode);
        if (sources.empty())
            return kCFRunLoopRunFinished;
        const bool handled = deliverReady(sources, mode, scope.activation, isLimited ? &deadline : nullptr,
                                          returnAfterSourceHandled);
        if (handled && returnAfterSourceHandled)
            return kCFRunLoopRunHandledSource;
        if (isStopped(scope.activation))
            return kCFRunLoopRunStopped;
        if (isLimited && Clock::now() >= deadline)
            return kCFRunLoopRunTimedOut;
    }
}

void RunLoop::stop() {
    {
        const std::lock_guard<std::mutex> lock(membershipLock());
        if (m_innermost)
            m_innermost->isStopped = true;
    }
    wake();
}

} // namespace LinuxPlatform

using namespace LinuxPlatform;

CFTypeID CFRunLoopGetTypeID() {
    return static_cast<CFTypeID>(TypeID::RunLoop);
}

CFRunLoopRef CFRunLoopGetCurrent() {
    return &RunLoop::current();
}

void CFRunLoopRun() {
    RunLoop::current().run(kCFRunLoopDefaultMode->units(), LONGEST_WAIT, false);
}

CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled) {
    return RunLoop::current().run(mode->units(), seconds, returnAfterSourceHandled);
}

Boolean CFRunLoopIsWaiting(CFRunLoopRef loop) {
    return loop->isWaiting();
}

void CFRunLoopWakeUp(CFRunLoopRef loop) {
    loop->wake();
}

void CFRunLoopStop(CFRunLoopRef loop) {
    loop->stop();
}

Boolean CFRunLoopContainsSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    return loop->contains(*source, mode->units());
}

void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    loop->add(*source, mode->units());
}

void CFRunLoopRemoveSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode) {
    loop->remove(*source, mode->units());
}

CFTypeID CFRunLoopSourceGetTypeID() {
    return static_cast<CFTypeID>(TypeID::RunLoopSource);
}

void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source) {
    source->invalidate();
}

Boolean CFRunLoopSourceIsValid(CFRunLoopSourceRef source) {
    return source->isValid();
}
