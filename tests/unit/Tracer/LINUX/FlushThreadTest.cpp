#include "detail/FlushThread.h"

#include "CountingThread.h"
#include "Logged.h"
#include "TracerFlushThread.h"
#include "WaitUntil.h"
#include "detail/EventCount.h"

#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

// Only this host shows on what a thread waits.

using namespace kf::detail;

namespace {

std::string taskFolder(const std::string& thread) {
    return "/proc/self/task/" + thread + "/";
}

/// The threads of this process that wait for a futex in this memory, from /proc/<pid>/syscall (proc(5)).
/// @param withoutEnd  only those that wait without a timeout
std::vector<std::string> threadsThatWaitFor(const void* memory, std::size_t size, bool withoutEnd) {
    const auto begin = reinterpret_cast<std::uintptr_t>(memory);
    std::vector<std::string> found;
    const std::unique_ptr<DIR, int (*)(DIR*)> threads(opendir("/proc/self/task"), &closedir);
    while (const dirent* thread = threads ? readdir(threads.get()) : nullptr) {
        std::ifstream file(taskFolder(thread->d_name) + "syscall");
        std::string number;
        std::uintptr_t arguments[4] = {};
        file >> number >> std::hex;
        for (std::uintptr_t& argument : arguments) {
            file.ignore(3); // " 0x"
            file >> argument;
        }
        // A futex: the word's address, the operation, the expected value, the timeout.
        if (file && arguments[0] >= begin && arguments[0] < begin + size &&
            (!withoutEnd || arguments[3] == 0))
            found.push_back(thread->d_name);
    }
    return found;
}

bool isAwaited(KFMutex& awaited) {
    return !threadsThatWaitFor(awaited.getHandle(), sizeof *awaited.getHandle(), false).empty();
}

bool isSleptOn(const EventCount& events) {
    return !threadsThatWaitFor(&events, sizeof events, true).empty();
}

/// The number of times that the thread has gone to sleep.
long sleepsOf(const std::string& thread) {
    std::ifstream file(taskFolder(thread) + "status");
    for (std::string line; std::getline(file, line);)
        if (line.compare(0, 24, "voluntary_ctxt_switches:") == 0)
            return std::stol(line.substr(24));
    return -1;
}

} // namespace

class FlushThreadThatWaits : public Logged {
protected:
    void readConfigurations() {
        writeFile(m_folder / "tracer.cfg", "TRACE_ON\nTRACE_SET_FILE_NAME trace\n");
        writeFile(m_folder / "logger.cfg", "LOG_ON\nLOG_SET_FILE_NAME log\n");
        m_tracer.ReadConfigFile((m_folder / "tracer.cfg").c_str());
        m_logger.ReadConfigFile((m_folder / "logger.cfg").c_str());
    }
};

TEST_F(FlushThreadThatWaits, IsNotAwakeWhileNothingHappens) {
    readConfigurations();
    m_tracer.PrintString("traced\n");
    m_logger.PrintMsg(MSG_ERROR, "logged");
    ASSERT_TRUE(waitUntil([&] { return file() == "traced\n" && log() == "[ERROR  ] logged\n"; }));
    std::map<std::string, long> sleeps; // by thread
    for (const EventCount* work : {&TracerFlushThread::getWork(), &m_logger.getFlushWork()}) {
        ASSERT_TRUE(waitUntil([&] { return isSleptOn(*work); }));
        const std::string thread = threadsThatWaitFor(work, sizeof *work, true).front();
        sleeps[thread] = sleepsOf(thread);
    }
    CountingThread clock;
    ASSERT_TRUE(clock.start());
    ASSERT_TRUE(waitUntil([&] { return clock.m_flushes == 3; }));
    ASSERT_EQ(sleeps.size(), 2U);
    for (const auto& [thread, count] : sleeps) {
        EXPECT_GT(count, 0);
        EXPECT_EQ(sleepsOf(thread), count) << "it was awake";
    }
}

TEST_F(FlushThreadThatWaits, WritesTheLineThatWakesIt) {
    readConfigurations();
    ASSERT_TRUE(waitUntil([&] { return file().empty() && isSleptOn(TracerFlushThread::getWork()); }));
    m_tracer.PrintString("later\n");
    EXPECT_TRUE(waitUntil([&] { return file() == "later\n"; }));
}

TEST_F(FlushThreadThatWaits, WritesTheLogLineThatWakesItWhicheverWayItCame) {
    readConfigurations();
    std::string expected;
    const auto sleeps = [&] { return log() == expected && isSleptOn(m_logger.getFlushWork()); };
    for (const char* way : {"in new memory", "without the lock"}) {
        ASSERT_TRUE(waitUntil(sleeps)) << way;
        m_logger.PrintMsg(MSG_ERROR, "%s", way);
        expected += std::string("[ERROR  ] ") + way + "\n";
    }
    ASSERT_TRUE(waitUntil(sleeps));
    m_logger.PrintString("whole\n");
    EXPECT_TRUE(waitUntil([&] { return log() == expected + "whole\n"; }));
}

TEST_F(FlushThreadThatWaits, EmptiesAFileThatIsToBeEmptiedThoughNoLineComes) {
    readConfigurations();
    m_tracer.PrintString("a line\n");
    ASSERT_TRUE(waitUntil([&] { return file() == "a line\n" && isSleptOn(TracerFlushThread::getWork()); }));
    m_tracer.UpdateFileName();
    EXPECT_TRUE(waitUntil([&] { return file().empty(); }));
}

TEST_F(FlushThreadThatWaits, WritesWhatWaitsForAFileOnceThereIsOneAgain) {
    readConfigurations();
    ASSERT_TRUE(waitUntil([&] { return isSleptOn(m_logger.getFlushWork()); }));
    m_logger.PrintMsg(MSG_ERROR, "waits"); // until the thread has slept for its second
    m_logger.SetFileName("console");
    ASSERT_TRUE(waitUntil([&] { return isSleptOn(m_logger.getFlushWork()); }));
    EXPECT_EQ(log(), "");
    m_logger.SetFileName("other");
    const std::string other = m_folder / "other_0.txt";
    EXPECT_TRUE(waitUntil(
        [&] { return access(other.c_str(), F_OK) == 0 && readFile(other) == "[ERROR  ] waits\n"; }));
}

TEST_F(FlushThreadThatWaits, TriesAgainWhatAnotherThreadCouldNotWrite) {
    writeFile(m_folder / "tracer.cfg", "TRACE_ON\nTRACE_SET_FILE_NAME " + (m_folder / "other/trace") + "\n");
    const std::string other = m_folder / "other";
    ASSERT_EQ(mkdir(other.c_str(), 0700), 0);
    m_tracer.ReadConfigFile((m_folder / "tracer.cfg").c_str());
    ASSERT_TRUE(waitUntil([&] { return isSleptOn(TracerFlushThread::getWork()); }));
    ASSERT_EQ(unlink((other + "/trace_0.txt").c_str()), 0);
    ASSERT_EQ(rmdir(other.c_str()), 0);
    m_tracer.setDirectWrite(true);
    testing::internal::CaptureStderr();
    m_tracer.PrintString("a line\n");
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    testing::internal::CaptureStderr();
    ASSERT_EQ(mkdir(other.c_str(), 0700), 0);
    EXPECT_TRUE(waitUntil([&] { return access((other + "/trace_0.txt").c_str(), F_OK) == 0; }));
    testing::internal::GetCapturedStderr();
    m_tracer.FinishTracing();
    EXPECT_EQ(readFile(other + "/trace_0.txt"), "a line\n");
}

TEST_F(FlushThreadThatWaits, GivesTheMemoryOfABurstBackBeforeItSleeps) {
    readConfigurations();
    const std::string line(1000, 'x');
    for (int i = 0; i < 5000; ++i)
        m_logger.PrintMsg(MSG_ERROR, "%s", line.c_str());
    ASSERT_TRUE(waitUntil([&] { return isSleptOn(m_logger.getFlushWork()); }));
    const KFLock lock(m_logger.getLock());
    EXPECT_LE(m_logger.getFileRing().queueMemory(), std::size_t{100000});
}

TEST_F(FlushThreadThatWaits, DestroyedWithALockThatAFailedOpenHasKeptTheLoggerEndsItsFlushThread) {
    Logger logger;
    logger.SetFileName(m_folder / "missing/log");
    logger.Initialize();
    logger.PrintMsg(MSG_ERROR, "waits");
    testing::internal::CaptureStderr();
    logger.WriteOnFile(); // fails to open the file, and keeps the lock
    EXPECT_TRUE(waitUntil([&] { return isAwaited(logger.getLock()); }));
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}
