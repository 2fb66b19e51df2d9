#include "LiveObjects.h"

#include "RunLoop.h"

#include <CoreFoundation/CoreFoundation.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <poll.h>
#include <thread>

namespace {

std::atomic<int> sleeps{0};

} // namespace

extern "C" {
int __real_ppoll(pollfd* descriptors, nfds_t count, const timespec* timeout, const sigset_t* mask);

int __wrap_ppoll(pollfd* descriptors, nfds_t count, const timespec* timeout, const sigset_t* mask) {
    ++sleeps;
    return __real_ppoll(descriptors, count, timeout, mask);
}
}

namespace {

using LinuxPlatform::handOver;
using LinuxPlatform::Owned;
using LinuxPlatform::RunLoopSource;
using LinuxPlatform::WakeUp;

/// A source that calls back once per signal.
class SignalledSource final : public RunLoopSource {
public:
    explicit SignalledSource(std::function<void()> callback) : m_callback(std::move(callback)) {}

    void appendDescriptors(std::vector<pollfd>& descriptors) const override {
        descriptors.push_back({m_wakeUp.descriptor(), POLLIN, 0});
    }
    bool deliver() override {
        m_wakeUp.clear();
        if (m_due == 0)
            return false;
        if (--m_due > 0)
            m_wakeUp.signal();
        m_callback();
        return true;
    }

    void signal() {
        ++m_due;
        m_wakeUp.signal();
    }
    /// Wakes the loop up without anything to deliver.
    void Disturb() { m_wakeUp.signal(); }

private:
    WakeUp m_wakeUp;
    std::atomic<int> m_due{0};
    const std::function<void()> m_callback;
};

class CFRunLoop : public LiveObjectsTest {
protected:
    static Owned<SignalledSource> MakeSource(std::function<void()> callback = [] {}) {
        return Owned<SignalledSource>(handOver(std::make_unique<SignalledSource>(std::move(callback))));
    }

    static CFRunLoopRunResult RunFor(CFTimeInterval seconds, bool once = false) {
        return CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds, once);
    }

    static void AwaitWaiting(CFRunLoopRef loop) {
        while (!CFRunLoopIsWaiting(loop))
            std::this_thread::yield();
    }

    const CFRunLoopRef m_loop = CFRunLoopGetCurrent();
};

const CFTimeInterval LONG = 60;

} // namespace

TEST_F(CFRunLoop, EveryThreadHasItsOwn) {
    EXPECT_EQ(CFRunLoopGetCurrent(), m_loop);
    std::thread([this] { EXPECT_NE(CFRunLoopGetCurrent(), m_loop); }).join();
}

TEST_F(CFRunLoop, EndsAtOnceWithoutSources) {
    CFRunLoopRun();
    EXPECT_EQ(RunFor(LONG), kCFRunLoopRunFinished);
}

TEST_F(CFRunLoop, DeliversOnItsOwnThread) {
    std::thread::id deliveredOn;
    const auto source = MakeSource([&] {
        deliveredOn = std::this_thread::get_id();
        CFRunLoopStop(m_loop);
    });
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    std::thread([&] { source->signal(); }).join();
    CFRunLoopRun();
    EXPECT_EQ(deliveredOn, std::this_thread::get_id());
    CFRunLoopRemoveSource(m_loop, source.get(), kCFRunLoopDefaultMode);
}

TEST_F(CFRunLoop, EndsWhenItsLastSourceIsRemoved) {
    Owned<SignalledSource> source =
        MakeSource([&] { CFRunLoopRemoveSource(m_loop, source.get(), kCFRunLoopCommonModes); });
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopCommonModes);
    source->signal();
    CFRunLoopRun();
    EXPECT_FALSE(CFRunLoopContainsSource(m_loop, source.get(), kCFRunLoopCommonModes));
}

TEST_F(CFRunLoop, EndsWhenItsLastSourceIsInvalidated) {
    Owned<SignalledSource> source = MakeSource([&] { CFRunLoopSourceInvalidate(source.get()); });
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopCommonModes);
    source->signal();
    CFRunLoopRun();
    EXPECT_FALSE(CFRunLoopSourceIsValid(source.get()));
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    EXPECT_FALSE(CFRunLoopContainsSource(m_loop, source.get(), kCFRunLoopDefaultMode)) << "invalid for good";
}

TEST_F(CFRunLoop, EndsWhenAnotherThreadTakesTheLastSourceWhileItSleeps) {
    const auto source = MakeSource();
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    std::thread other([&] {
        AwaitWaiting(m_loop);
        CFRunLoopRemoveSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    });
    EXPECT_EQ(RunFor(LONG), kCFRunLoopRunFinished);
    other.join();
}

TEST_F(CFRunLoop, IsStoppedFromAnyThread) {
    const auto source = MakeSource();
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    std::thread other([&] {
        AwaitWaiting(m_loop);
        CFRunLoopStop(m_loop);
    });
    EXPECT_EQ(RunFor(LONG), kCFRunLoopRunStopped);
    other.join();
    CFRunLoopRemoveSource(m_loop, source.get(), kCFRunLoopDefaultMode);
}

TEST_F(CFRunLoop, AStopWithoutARunIsForgotten) {
    const auto source = MakeSource();
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    CFRunLoopStop(m_loop);
    EXPECT_EQ(RunFor(0.001), kCFRunLoopRunTimedOut);
    CFRunLoopRemoveSource(m_loop, source.get(), kCFRunLoopDefaultMode);
}

TEST_F(CFRunLoop, AStopEndsTheInnermostRunOnly) {
    int calls = 0;
    Owned<SignalledSource> source = MakeSource([&] {
        if (++calls > 1) {
            CFRunLoopStop(m_loop);
            return;
        }
        source->signal();
        EXPECT_EQ(RunFor(LONG), kCFRunLoopRunStopped);
        EXPECT_EQ(calls, 2);
        source->signal();
    });
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    source->signal();
    EXPECT_EQ(RunFor(LONG), kCFRunLoopRunStopped);
    EXPECT_EQ(calls, 3) << "the outer run went on after the inner one was stopped";
    CFRunLoopRemoveSource(m_loop, source.get(), kCFRunLoopDefaultMode);
}

TEST_F(CFRunLoop, WhatIsDueAfterAStopWaitsForTheNextRun) {
    int delivered = 0;
    const auto source = MakeSource([&] {
        ++delivered;
        CFRunLoopStop(m_loop);
    });
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    source->signal();
    source->signal();
    EXPECT_EQ(RunFor(LONG), kCFRunLoopRunStopped);
    EXPECT_EQ(delivered, 1);
    EXPECT_EQ(RunFor(LONG), kCFRunLoopRunStopped);
    EXPECT_EQ(delivered, 2);
    CFRunLoopRemoveSource(m_loop, source.get(), kCFRunLoopDefaultMode);
}

TEST_F(CFRunLoop, ReturnsAfterOneSourceWhenAsked) {
    int delivered = 0;
    const auto source = MakeSource([&] { ++delivered; });
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    source->signal();
    source->signal();
    EXPECT_EQ(RunFor(LONG, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(delivered, 1);
    EXPECT_EQ(RunFor(0, true), kCFRunLoopRunHandledSource) << "one pass delivers what is due";
    EXPECT_EQ(RunFor(0, true), kCFRunLoopRunTimedOut);
    EXPECT_EQ(delivered, 2);
    CFRunLoopRemoveSource(m_loop, source.get(), kCFRunLoopDefaultMode);
}

TEST_F(CFRunLoop, AWakeUpThatDeliversNothingHandlesNothing) {
    const auto source = MakeSource([] { FAIL() << "nothing is due"; });
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    source->Disturb();
    EXPECT_EQ(RunFor(0.001, true), kCFRunLoopRunTimedOut);
    CFRunLoopRemoveSource(m_loop, source.get(), kCFRunLoopDefaultMode);
}

TEST_F(CFRunLoop, DoesNotWakeUpWhileNothingHappens) {
    const auto source = MakeSource();
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    EXPECT_EQ(RunFor(0), kCFRunLoopRunTimedOut) << "the wake-up of the adding";
    sleeps = 0;
    EXPECT_EQ(RunFor(0.05), kCFRunLoopRunTimedOut);
    EXPECT_EQ(sleeps, 1);
    CFRunLoopRemoveSource(m_loop, source.get(), kCFRunLoopDefaultMode);
}

TEST_F(CFRunLoop, ASourceRemovedByAnothersCallbackIsNotCalled) {
    int called = 0;
    Owned<SignalledSource> first;
    Owned<SignalledSource> second;
    const auto removeBoth = [&] {
        ++called;
        CFRunLoopRemoveSource(m_loop, first.get(), kCFRunLoopDefaultMode);
        CFRunLoopRemoveSource(m_loop, second.get(), kCFRunLoopDefaultMode);
    };
    first = MakeSource(removeBoth);
    second = MakeSource(removeBoth);
    CFRunLoopAddSource(m_loop, first.get(), kCFRunLoopDefaultMode);
    CFRunLoopAddSource(m_loop, second.get(), kCFRunLoopDefaultMode);
    first->signal();
    second->signal();
    CFRunLoopRun();
    EXPECT_EQ(called, 1);
}

TEST_F(CFRunLoop, AfterAStopOrTheOneCallbackAskedForNoOtherSourceIsCalled) {
    int called = 0;
    bool stops = false;
    const auto count = [&] {
        ++called;
        if (stops)
            CFRunLoopStop(m_loop);
    };
    const auto first = MakeSource(count);
    const auto second = MakeSource(count);
    CFRunLoopAddSource(m_loop, first.get(), kCFRunLoopDefaultMode);
    CFRunLoopAddSource(m_loop, second.get(), kCFRunLoopDefaultMode);
    first->signal();
    second->signal();
    EXPECT_EQ(RunFor(LONG, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(called, 1);
    stops = true;
    first->signal();
    EXPECT_EQ(RunFor(LONG), kCFRunLoopRunStopped);
    EXPECT_EQ(called, 2);
    EXPECT_EQ(RunFor(LONG), kCFRunLoopRunStopped);
    EXPECT_EQ(called, 3);
    CFRunLoopRemoveSource(m_loop, first.get(), kCFRunLoopDefaultMode);
    CFRunLoopRemoveSource(m_loop, second.get(), kCFRunLoopDefaultMode);
}

TEST_F(CFRunLoop, CommonModesServeTheDefaultModeAndAreNoModeToRunIn) {
    const auto source = MakeSource();
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopCommonModes);
    EXPECT_TRUE(CFRunLoopContainsSource(m_loop, source.get(), kCFRunLoopCommonModes));
    EXPECT_TRUE(CFRunLoopContainsSource(m_loop, source.get(), kCFRunLoopDefaultMode));
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopCommonModes, LONG, FALSE), kCFRunLoopRunFinished);
    source->signal();
    EXPECT_EQ(RunFor(LONG, true), kCFRunLoopRunHandledSource);
    CFRunLoopRemoveSource(m_loop, source.get(), kCFRunLoopCommonModes);
}

TEST_F(CFRunLoop, AModeOfItsOwnServesOnlyItsSources) {
    const auto source = MakeSource();
    CFRunLoopAddSource(m_loop, source.get(), CFSTR("private"));
    EXPECT_FALSE(CFRunLoopContainsSource(m_loop, source.get(), kCFRunLoopDefaultMode));
    EXPECT_EQ(RunFor(LONG), kCFRunLoopRunFinished);
    source->signal();
    EXPECT_EQ(CFRunLoopRunInMode(CFSTR("private"), LONG, TRUE), kCFRunLoopRunHandledSource);
    CFRunLoopRemoveSource(m_loop, source.get(), CFSTR("private"));
}

TEST_F(CFRunLoop, AddingTwiceIsAddingOnce) {
    const auto source = MakeSource();
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    CFRunLoopAddSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    CFRunLoopRemoveSource(m_loop, source.get(), kCFRunLoopDefaultMode);
    EXPECT_EQ(RunFor(LONG), kCFRunLoopRunFinished);
}

TEST_F(CFRunLoop, AThreadsEndReleasesItsSources) {
    const auto source = MakeSource();
    std::thread([&] {
        CFRunLoopAddSource(CFRunLoopGetCurrent(), source.get(), kCFRunLoopDefaultMode);
    }).join();
    EXPECT_EQ(CFGetRetainCount(source.get()), 1);
    CFRunLoopSourceInvalidate(source.get());
}

// A signal handler that ends the process may have interrupted code that holds the lock of the loop's sources.
TEST_F(CFRunLoop, OfTheMainThreadIsLeftAloneWhenTheProcessEnds) {
    const auto addSource = [] {
        const std::shared_ptr<void> owner(nullptr, [](void*) { std::fputs("released", stderr); });
        CFRunLoopAddSource(CFRunLoopGetCurrent(), MakeSource([owner] {}).get(), kCFRunLoopDefaultMode);
    };
    const auto endWithASource = [&] {
        addSource();
        std::exit(0);
    };
    EXPECT_EXIT(endWithASource(), testing::ExitedWithCode(0), "^$");
}

TEST_F(CFRunLoop, OutlivesItsThreadWhenRetained) {
    CFRunLoopRef other = nullptr;
    std::thread([&] {
        other = static_cast<CFRunLoopRef>(const_cast<void*>(CFRetain(CFRunLoopGetCurrent())));
    }).join();
    CFRunLoopStop(other);
    CFRunLoopWakeUp(other);
    EXPECT_FALSE(CFRunLoopIsWaiting(other));
    CFRelease(other);
}
