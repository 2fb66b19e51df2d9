#include "KFThread.h"

#include "WrappedCalls.h"
#include "detail/ThreadNotices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace kf::detail;

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Opens once; wait() blocks until then.
class Gate {
public:
    void open() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isOpen = true;
        m_opened.notify_all();
    }
    void wait() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_opened.wait(lock, [this] { return m_isOpen; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_opened;
    bool m_isOpen = false;
};

class BodyThread : public KFThread {
public:
    explicit BodyThread(std::function<void(BodyThread&)> body, const char* name = nullptr)
        : KFThread(name), m_body(std::move(body)) {}

    void onTerminate() override { ++m_terminations; }
    int terminations() const { return m_terminations; }

private:
    void run() override { m_body(*this); }

    std::function<void(BodyThread&)> m_body;
    std::atomic<int> m_terminations{0};
};

/// A thread that runs until onTerminate() asks it to finish, as a subclass should be written.
class WaitingThread : public KFThread {
public:
    explicit WaitingThread(const char* name = nullptr) : KFThread(name) {}
    void onTerminate() override { m_finish.open(); }
    bool hasFinished() const { return m_finished; }

private:
    void run() override {
        m_finish.wait();
        m_finished = true;
    }

    Gate m_finish;
    std::atomic<bool> m_finished{false};
};

std::mutex noticesLock;
std::vector<std::string> notices;
std::function<void()> atEndNotice;

void note(const std::string& notice) {
    const std::lock_guard<std::mutex> lock(noticesLock);
    notices.push_back(notice);
}

std::vector<std::string> noticesSoFar() {
    const std::lock_guard<std::mutex> lock(noticesLock);
    return notices;
}

class KFThreadTest : public testing::Test {
protected:
    KFThreadTest() {
        WrappedCalls::reset();
        notices.clear();
        atEndNotice = nullptr;
    }
};

const char SOURCE[] = "product/Infrastructure/ProgrammingServices/OS/src/KFThread";

} // namespace

// Replace the upper floor's definitions, which are then not linked in.
void kf::detail::announceThreadBegin(const char* name) {
    note(std::string("begin of ") + name);
}
void kf::detail::announceThreadEnd() {
    note("end");
    if (atEndNotice)
        atEndNotice();
}

TEST_F(KFThreadTest, IsNotStartedByItsConstruction) {
    bool ran = false;
    {
        BodyThread thread([&ran](BodyThread&) { ran = true; });
        EXPECT_FALSE(thread.isRunning());
    }
    EXPECT_FALSE(ran);
}

TEST_F(KFThreadTest, ExecutesItsBodyOnAThreadOfItsOwn) {
    pthread_t idInBody = pthread_self();
    BodyThread thread([&idInBody](BodyThread&) { idInBody = KFThread::getCurrentThreadId(); });
    ASSERT_TRUE(thread.start());
    thread.stop();
    EXPECT_FALSE(pthread_equal(idInBody, pthread_self()));
    EXPECT_TRUE(pthread_equal(idInBody, thread.getHandle()));
}

TEST_F(KFThreadTest, TheBodyKnowsItsOwnHandle) {
    bool same = false;
    Gate compared;
    WrappedCalls::get().afterThreadCreated = [&compared] { compared.wait(); };
    BodyThread thread([&](BodyThread& self) {
        same = pthread_equal(self.getHandle(), KFThread::getCurrentThreadId()) != 0;
        compared.open();
    });
    ASSERT_TRUE(thread.start());
    thread.stop();
    EXPECT_TRUE(same) << "also before its owner knows it";
}

TEST_F(KFThreadTest, TheOwnerKnowsTheHandleOfAThreadThatHasNotBegun) {
    Gate begin;
    pthread_t idInBody = pthread_self();
    WrappedCalls::get().beforeThreadBody = [&begin] { begin.wait(); };
    BodyThread thread([&idInBody](BodyThread&) { idInBody = KFThread::getCurrentThreadId(); });
    ASSERT_TRUE(thread.start());
    const pthread_t told = thread.getHandle();
    begin.open();
    thread.stop();
    EXPECT_TRUE(pthread_equal(told, idInBody));
}

TEST_F(KFThreadTest, IsRunningFromStartUntilTheBodyHasReturned) {
    bool runningInBody = false;
    Gate finish;
    BodyThread thread([&](BodyThread& self) {
        runningInBody = self.isRunning();
        finish.wait();
    });
    ASSERT_TRUE(thread.start());
    EXPECT_TRUE(thread.isRunning());
    finish.open();
    EXPECT_EQ(KFThread::waitForThreadTermination(&thread), 0);
    EXPECT_TRUE(runningInBody);
    EXPECT_FALSE(thread.isRunning());
}

// DELIBERATE: the flag is set before the thread is created, and stays set if that fails.
TEST_F(KFThreadTest, IsRunningStaysTrueAfterAStartThatFailed) {
    BodyThread thread([](BodyThread&) {});
    WrappedCalls::get().pthreadCreateError = EAGAIN;
    EXPECT_FALSE(thread.start());
    EXPECT_TRUE(thread.isRunning());
    thread.stop();
    EXPECT_TRUE(thread.isRunning());
}

TEST_F(KFThreadTest, AThreadWhoseStartFailedCanBeStoppedAndDestroyed) {
    {
        BodyThread thread([](BodyThread&) {});
        WrappedCalls::get().pthreadCreateError = EAGAIN;
        EXPECT_FALSE(thread.start());
        thread.stop();
        EXPECT_EQ(thread.terminations(), 1);
        EXPECT_EQ(KFThread::waitForThreadTermination(&thread), ESRCH);
    }
    EXPECT_EQ(WrappedCalls::joins(), 0);
}

TEST_F(KFThreadTest, AStartThatFailedCanBeRepeated) {
    bool ran = false;
    BodyThread thread([&ran](BodyThread&) { ran = true; });
    WrappedCalls::get().pthreadCreateError = EAGAIN;
    EXPECT_FALSE(thread.start());
    WrappedCalls::get().pthreadCreateError = 0;
    EXPECT_TRUE(thread.start());
    thread.stop();
    EXPECT_TRUE(ran);
    EXPECT_FALSE(thread.isRunning());
}

TEST_F(KFThreadTest, AThreadNeverStartedCanBeStoppedAndDestroyed) {
    {
        BodyThread thread([](BodyThread&) {});
        thread.stop();
        EXPECT_EQ(thread.terminations(), 1);
        EXPECT_EQ(KFThread::waitForThreadTermination(&thread), ESRCH);
    }
    EXPECT_EQ(WrappedCalls::joins(), 0);
}

TEST_F(KFThreadTest, StopAsksTheBodyToFinishAndWaitsForIt) {
    WaitingThread thread;
    ASSERT_TRUE(thread.start());
    thread.stop();
    EXPECT_TRUE(thread.hasFinished());
    EXPECT_FALSE(thread.isRunning());
}

TEST_F(KFThreadTest, WaitForThreadTerminationDoesNotAskTheBodyToFinish) {
    BodyThread thread([](BodyThread&) {});
    ASSERT_TRUE(thread.start());
    EXPECT_EQ(KFThread::waitForThreadTermination(&thread), 0);
    EXPECT_EQ(thread.terminations(), 0);
}

TEST_F(KFThreadTest, IsJoinedOnceByStopAndTheDestructor) {
    {
        WaitingThread thread;
        ASSERT_TRUE(thread.start());
        thread.stop();
        thread.stop();
    }
    EXPECT_EQ(WrappedCalls::joins(), 1);
}

TEST_F(KFThreadTest, IsJoinedOnceByWaitForThreadTerminationAndTheDestructor) {
    {
        BodyThread thread([](BodyThread&) {});
        ASSERT_TRUE(thread.start());
        EXPECT_EQ(KFThread::waitForThreadTermination(&thread), 0);
        EXPECT_EQ(KFThread::waitForThreadTermination(&thread), ESRCH);
    }
    EXPECT_EQ(WrappedCalls::joins(), 1);
}

TEST_F(KFThreadTest, TheDestructorJoinsAThreadWhoseBodyHasReturned) {
    auto thread = std::make_unique<BodyThread>([](BodyThread&) {});
    ASSERT_TRUE(thread->start());
    while (thread->isRunning())
        std::this_thread::yield();
    thread.reset();
    EXPECT_EQ(WrappedCalls::joins(), 1);
}

TEST_F(KFThreadTest, TheDestructorWaitsForARunningBodyWithoutTheSubclassOnTerminate) {
    Gate begun, finish;
    std::atomic<bool> finished{false};
    std::atomic<int> terminations{0};
    class Thread : public KFThread {
    public:
        Thread(Gate& begun, Gate& finish, std::atomic<bool>& finished, std::atomic<int>& terminations)
            : KFThread(nullptr), m_begun(begun), m_finish(finish), m_finished(finished),
              m_terminations(terminations) {}
        void onTerminate() override { ++m_terminations; }

    private:
        void run() override {
            std::atomic<bool>& hasFinished = m_finished; // the subclass is destroyed while the body runs
            Gate& mayFinish = m_finish;
            m_begun.open();
            mayFinish.wait();
            hasFinished = true;
        }
        Gate& m_begun;
        Gate& m_finish;
        std::atomic<bool>& m_finished;
        std::atomic<int>& m_terminations;
    };
    auto thread = std::make_unique<Thread>(begun, finish, finished, terminations);
    ASSERT_TRUE(thread->start());
    begun.wait();
    std::thread finisher([&finish] { finish.open(); });
    thread.reset();
    EXPECT_TRUE(finished);
    EXPECT_EQ(terminations, 0);
    finisher.join();
}

TEST_F(KFThreadTest, ABodyThatStopsItsOwnThreadDoesNotWaitForItself) {
    int result = 0;
    BodyThread thread([&result](BodyThread& self) {
        self.stop();
        result = KFThread::waitForThreadTermination(&self);
    });
    ASSERT_TRUE(thread.start());
    EXPECT_EQ(KFThread::waitForThreadTermination(&thread), 0);
    EXPECT_EQ(result, EDEADLK);
    EXPECT_EQ(thread.terminations(), 1);
    EXPECT_EQ(WrappedCalls::joins(), 1);
}

TEST_F(KFThreadTest, EveryThreadThatWaitsReturnsAfterTheBodyHasEnded) {
    WaitingThread thread;
    ASSERT_TRUE(thread.start());
    std::atomic<int> early{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i) {
        waiters.emplace_back([&thread, &early, i] {
            i % 2 == 0 ? thread.stop() : static_cast<void>(KFThread::waitForThreadTermination(&thread));
            early += !thread.hasFinished();
        });
    }
    for (std::thread& waiter : waiters)
        waiter.join();
    EXPECT_EQ(early, 0);
    EXPECT_EQ(WrappedCalls::joins(), 1);
}

TEST_F(KFThreadTest, CanBeStartedAgainWhenItsBodyHasReturned) {
    int runs = 0;
    {
        BodyThread thread([&runs](BodyThread&) { ++runs; });
        ASSERT_TRUE(thread.start());
        thread.stop();
        ASSERT_TRUE(thread.start());
        while (thread.isRunning()) // the body has returned, but the thread is not joined
            std::this_thread::yield();
        ASSERT_TRUE(thread.start());
        thread.stop();
    }
    EXPECT_EQ(runs, 3);
    EXPECT_EQ(WrappedCalls::joins(), 3);
}

TEST_F(KFThreadTest, StartingARunningThreadCreatesNoSecondOne) {
    std::atomic<int> runs{0};
    Gate finish;
    BodyThread thread([&](BodyThread& self) {
        ++runs;
        EXPECT_FALSE(self.start());
        finish.wait();
    });
    ASSERT_TRUE(thread.start());
    const pthread_t handle = thread.getHandle();
    EXPECT_FALSE(thread.start());
    EXPECT_TRUE(pthread_equal(handle, thread.getHandle()));
    finish.open();
    thread.stop();
    EXPECT_EQ(runs, 1);
}

TEST_F(KFThreadTest, ANamedThreadAnnouncesItsBeginAndItsEndAroundItsBody) {
    BodyThread thread([](BodyThread&) { note("body"); }, "Reader");
    bool runningAtEnd = false;
    bool onItsThread = false;
    atEndNotice = [&] {
        runningAtEnd = thread.isRunning();
        onItsThread = pthread_equal(thread.getHandle(), pthread_self()) != 0;
    };
    ASSERT_TRUE(thread.start());
    thread.stop();
    EXPECT_THAT(noticesSoFar(), ElementsAre("begin of Reader", "body", "end"));
    EXPECT_TRUE(runningAtEnd);
    EXPECT_TRUE(onItsThread);
}

TEST_F(KFThreadTest, AThreadWithoutANameRunsWithoutNotices) {
    BodyThread thread([](BodyThread&) { note("body"); }, nullptr);
    ASSERT_TRUE(thread.start());
    thread.stop();
    EXPECT_THAT(noticesSoFar(), ElementsAre("body"));
}

TEST_F(KFThreadTest, AnEmptyNameIsAName) {
    BodyThread thread([](BodyThread&) {}, "");
    ASSERT_TRUE(thread.start());
    thread.stop();
    EXPECT_THAT(noticesSoFar(), ElementsAre("begin of ", "end"));
}

TEST_F(KFThreadTest, CopiesItsName) {
    std::string name = "Original";
    BodyThread thread([](BodyThread&) {}, name.c_str());
    name.assign("Replaced");
    ASSERT_TRUE(thread.start());
    thread.stop();
    EXPECT_EQ(noticesSoFar().front(), "begin of Original");
}

TEST_F(KFThreadTest, IsCreatedJoinable) {
    BodyThread thread([](BodyThread&) {});
    EXPECT_EQ(WrappedCalls::detachState(), PTHREAD_CREATE_JOINABLE);
    EXPECT_THAT(WrappedCalls::violations(), IsEmpty());
}

TEST_F(KFThreadTest, AttributesThatCannotBeInitialisedBreakTheContract) {
    WrappedCalls::get().attrInitError = ENOMEM;
    BodyThread thread([](BodyThread&) {});
    EXPECT_THAT(WrappedCalls::violations(),
                ElementsAre(std::string("REQUIRE VIOLATION|!pthread_attr_init(&m_attr)|") + SOURCE + "|46"));
}

TEST_F(KFThreadTest, AttributesThatCannotBeMadeJoinableBreakTheContract) {
    WrappedCalls::get().setDetachStateError = EINVAL;
    BodyThread thread([](BodyThread&) {});
    EXPECT_THAT(WrappedCalls::violations(),
                ElementsAre(std::string("REQUIRE VIOLATION|!pthread_attr_setdetachstate(&m_attr, "
                                        "PTHREAD_CREATE_JOINABLE)|") +
                            SOURCE + "|47"));
}

TEST_F(KFThreadTest, AThreadEntryWithoutAThreadBreaksTheContract) {
    EXPECT_EQ(KFThread::threadStart(nullptr), nullptr);
    EXPECT_THAT(WrappedCalls::violations(),
                ElementsAre(std::string("REQUIRE VIOLATION|arg != NULL|") + SOURCE + "|156"));
    EXPECT_THAT(noticesSoFar(), IsEmpty());
}

TEST_F(KFThreadTest, TheThreadEntryReturnsNullAndClearsTheFlag) {
    bool ran = false;
    BodyThread thread([&ran](BodyThread&) { ran = true; });
    WrappedCalls::get().pthreadCreateError = EAGAIN;
    EXPECT_FALSE(thread.start());
    EXPECT_EQ(KFThread::threadStart(&thread), nullptr);
    EXPECT_TRUE(ran);
    EXPECT_FALSE(thread.isRunning());
}

TEST_F(KFThreadTest, MsleepCountsInMilliseconds) {
    WrappedCalls::get().sleepAtOnce = true;
    KFThread::msleep(0);
    KFThread::msleep(1);
    KFThread::msleep(1500);
    EXPECT_THAT(WrappedCalls::microsecondsSlept(), ElementsAre(0u, 1000u, 1500000u));
}

TEST_F(KFThreadTest, SleepCountsInSeconds) {
    WrappedCalls::get().sleepAtOnce = true;
    KFThread::sleep(0);
    KFThread::sleep(7);
    EXPECT_THAT(WrappedCalls::secondsSlept(), ElementsAre(0u, 7u));
}

TEST_F(KFThreadTest, TheBaseOnTerminateDoesNothing) {
    class Plain : public KFThread {
    public:
        Plain() : KFThread(nullptr) {}

    private:
        void run() override {}
    };
    Plain thread;
    thread.onTerminate();
    EXPECT_FALSE(thread.isRunning());
    ASSERT_TRUE(thread.start());
    thread.stop();
}

// For the thread sanitizer: the flag and the handle are read while the thread begins and ends.
TEST_F(KFThreadTest, TheFlagAndTheHandleMayBeReadWhileThreadsBeginAndEnd) {
    for (int round = 0; round < 200; ++round) {
        BodyThread thread([](BodyThread& self) { (void)self.isRunning(); }, "Short");
        std::atomic<bool> done{false};
        std::thread reader([&thread, &done] {
            while (!done) {
                (void)thread.isRunning();
                (void)thread.getHandle();
            }
        });
        ASSERT_TRUE(thread.start());
        thread.stop();
        done = true;
        reader.join();
        EXPECT_FALSE(thread.isRunning());
    }
}

TEST_F(KFThreadTest, ManyThreadsRunAtOnce) {
    std::vector<std::unique_ptr<WaitingThread>> threads;
    for (int i = 0; i < 50; ++i) {
        threads.push_back(std::make_unique<WaitingThread>("Worker"));
        ASSERT_TRUE(threads.back()->start());
    }
    for (const auto& thread : threads) {
        EXPECT_TRUE(thread->isRunning());
        thread->stop();
        EXPECT_TRUE(thread->hasFinished());
    }
    EXPECT_EQ(noticesSoFar().size(), 100u);
}
