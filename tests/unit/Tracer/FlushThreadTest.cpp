#include "detail/FlushThread.h"
#include "CallMarker.h"
#include "ChildProcess.h"
#include "CountingThread.h"
#include "FaultyDisk.h"
#include "LogMessage.h"
#include "LoggerFlushThread.h"
#include "Traced.h"
#include "Tracer.h"
#include "TracerFlushThread.h"
#include "WaitUntil.h"
#include "detail/FileRing.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace kf::detail;

using Clock = std::chrono::steady_clock;

namespace {

/// A flush thread whose flush() the test calls.
class HandFlushed : public TracerFlushThread {
public:
    using TracerFlushThread::flush;
};

bool isLockFree(KFMutex& lock) {
    const bool free = lock.tryacquire();
    if (free)
        lock.release();
    return free;
}

} // namespace

TEST(FlushingThread, FlushesOnceASecondWhileThereIsWork) {
    const Clock::time_point begin = Clock::now();
    CountingThread thread;
    ASSERT_TRUE(thread.start());
    ASSERT_TRUE(waitUntil([&] { return thread.m_flushes == 2; }));
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(1900));
}

TEST(FlushingThread, SleepsWhileThereIsNoWork) {
    CountingThread thread(false);
    ASSERT_TRUE(thread.start());
    ASSERT_TRUE(waitUntil([&] { return thread.m_looks == 1; }));
    CountingThread clock;
    ASSERT_TRUE(clock.start());
    ASSERT_TRUE(waitUntil([&] { return clock.m_flushes == 3; }));
    EXPECT_EQ(thread.m_looks, 1) << "it was awake";
    EXPECT_EQ(thread.m_flushes, 1);
}

TEST(FlushingThread, FlushesWithinASecondOfWorkAndSleepsAgain) {
    CountingThread thread(false);
    ASSERT_TRUE(thread.start());
    ASSERT_TRUE(waitUntil([&] { return thread.m_looks == 1; }));
    const Clock::time_point begin = Clock::now();
    thread.setWork(true);
    ASSERT_TRUE(waitUntil([&] { return thread.m_looks == 2; }));
    thread.setWork(false);
    EXPECT_TRUE(waitUntil([&] { return thread.m_looks == 3; }));
    EXPECT_EQ(thread.m_flushes, 2);
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(900)) << "what comes in a second goes together";
}

TEST(FlushingThread, SleepsUntilItIsStoppedOnceItIsToWriteNothingAnyMore) {
    CountingThread thread(false);
    ASSERT_TRUE(thread.start());
    ASSERT_TRUE(waitUntil([&] { return thread.m_looks == 1; }));
    thread.silence();
    thread.setWork(true);
    CountingThread clock;
    ASSERT_TRUE(clock.start());
    ASSERT_TRUE(waitUntil([&] { return clock.m_flushes == 2; }));
    EXPECT_TRUE(thread.isRunning());
    EXPECT_EQ(thread.m_flushes, 1);
}

TEST(FlushingThread, StopsWhileItSleeps) {
    CountingThread thread(false);
    ASSERT_TRUE(thread.start());
    ASSERT_TRUE(waitUntil([&] { return thread.m_looks == 1; }));
    thread.stop();
    EXPECT_FALSE(thread.isRunning());
    EXPECT_EQ(thread.m_flushes, 1);
}

TEST(FlushingThread, StopsWithoutWaitingForTheSecondAndWithoutAFlush) {
    CountingThread thread;
    ASSERT_TRUE(thread.start());
    const Clock::time_point begin = Clock::now();
    thread.stop();
    EXPECT_LT(Clock::now() - begin, std::chrono::milliseconds(900));
    EXPECT_FALSE(thread.isRunning());
    EXPECT_EQ(thread.m_flushes, 0);
}

TEST(FlushingThread, MayBeStoppedBeforeItHasStarted) {
    CountingThread thread;
    thread.stop();
    EXPECT_EQ(thread.m_flushes, 0);
}

class Flushing : public Traced {
protected:
    /// Waits until any flush thread has flushed at least once.
    static void waitForAFlush() {
        CountingThread clock;
        clock.start();
        ASSERT_TRUE(waitUntil([&] { return clock.m_flushes == 2; }));
    }
};

TEST_F(Flushing, TraceReachesItsFileWithinAboutASecond) {
    const std::string path = m_folder / "tracer.cfg";
    writeFile(path, "TRACE_ON\nTRACE_THE_THREAD *\nTRACE_THE_CALL *\nTRACE_SET_FILE_NAME trace\n");
    m_tracer.ReadConfigFile(path.c_str());
    { TRACE_FUNCTION("a"); }
    EXPECT_TRUE(waitUntil([this] { return file() != "(none)" && !lines().empty(); }));
    EXPECT_EQ(lines(), std::vector<std::string>{"a\n"});
}

// DELIBERATE: see FileRing::drain. The next drain comes even without a new line.
TEST_F(Flushing, FileThatARotationBeganIsEmptiedASecondLater) {
    const std::string path = m_folder / "tracer.cfg";
    writeFile(path, "TRACE_ON\nTRACE_SET_MAX_LINES 2\nTRACE_SET_FILE_NAME trace\n");
    m_tracer.ReadConfigFile(path.c_str());
    for (const char* line : {"1\n", "2\n", "3\n"})
        m_tracer.PrintString(line);
    EXPECT_TRUE(waitUntil([this] { return file(1) == "3\n"; }));
    EXPECT_TRUE(waitUntil([this] { return file(1).empty(); }));
    EXPECT_EQ(file(0), "1\n2\n");
}

TEST_F(Flushing, FileThatCannotBeOpenedIsTriedAgainEverySecond) {
    const std::string path = m_folder / "tracer.cfg";
    writeFile(path, "TRACE_ON\nTRACE_SET_FILE_NAME " + (m_folder / "missing/trace") + "\n");
    testing::internal::CaptureStderr();
    m_tracer.ReadConfigFile(path.c_str());
    waitForAFlush();
    ASSERT_EQ(mkdir((m_folder / "missing").c_str(), 0700), 0);
    EXPECT_TRUE(waitUntil([this] { return access((m_folder / "missing/trace_0.txt").c_str(), F_OK) == 0; }));
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Flushing, DirectlyWritingTracerHasNoFlushThread) {
    const std::string path = m_folder / "tracer.cfg";
    writeFile(path, "TRACE_ON\nTRACE_MUST_FLUSH\nTRACE_SET_FILE_NAME trace\n");
    m_tracer.ReadConfigFile(path.c_str());
    m_tracer.setDirectWrite(false);
    m_tracer.PrintString("waits\n");
    // If there were a flush thread, it would write within two seconds.
    CountingThread clock;
    clock.start();
    ASSERT_TRUE(waitUntil([&] { return clock.m_flushes == 2; }));
    EXPECT_EQ(file(), "(none)");
}

TEST_F(Flushing, FlushThreadReachesTheTracerThroughTheInstance) {
    TracerFlushThread thread;
    ASSERT_TRUE(thread.start());
    Tracer other;
    other.SetFileName(m_folder / "other");
    Tracer::SetInstance(&other);
    other.PrintString("x\n");
    m_tracer.SetFileName("trace");
    m_tracer.PrintString("x\n");
    EXPECT_TRUE(waitUntil([&] {
        const KFLock lock(other.getLock());
        return other.getFileRing().waiting() == 0;
    }));
    thread.stop();
    EXPECT_EQ(readFile(m_folder / "other_0.txt"), "x\n");
    EXPECT_EQ(file(), "(none)");
}

TEST_F(Flushing, FlushThreadWithoutATracerDoesNothing) {
    m_tracer.SetFileName("trace");
    m_tracer.PrintString("waits\n");
    Tracer* const none = nullptr;
    Tracer::SetInstance(none);
    EXPECT_EQ(takeContractViolations().size(), 2U);
    HandFlushed().flush();
    EXPECT_EQ(file(), "(none)");
}

TEST_F(Flushing, DestroyedTracerEndsItsFlushThread) {
    const std::string path = m_folder / "tracer.cfg";
    writeFile(path, "TRACE_ON\nTRACE_SET_FILE_NAME " + (m_folder / "own") + "\n");
    auto tracer = std::make_unique<Tracer>();
    Tracer::SetInstance(tracer.get());
    tracer->ReadConfigFile(path.c_str());
    const Clock::time_point begin = Clock::now();
    tracer.reset();
    EXPECT_LT(Clock::now() - begin, std::chrono::milliseconds(900));
}

TEST_F(Flushing, ConfigurationMayBeReadAgain) {
    const std::string path = m_folder / "tracer.cfg";
    writeFile(path, "TRACE_ON\nTRACE_THE_THREAD *\nTRACE_THE_CALL *\nTRACE_SET_FILE_NAME trace\n");
    m_tracer.ReadConfigFile(path.c_str());
    m_tracer.ReadConfigFile(path.c_str());
    { TRACE_FUNCTION("a"); }
    EXPECT_TRUE(waitUntil([this] { return file() != "(none)" && !lines().empty(); }));
}

// One more drain would empty the file that the rotation in the last drain has begun.
TEST_F(Flushing, FinishedTraceIsNotTouchedAgain) {
    const std::string path = m_folder / "tracer.cfg";
    writeFile(path, "TRACE_ON\nTRACE_SET_MAX_LINES 2\nTRACE_SET_FILE_NAME trace\n");
    m_tracer.ReadConfigFile(path.c_str());
    for (const char* line : {"1\n", "2\n", "3\n"})
        m_tracer.PrintString(line);
    m_tracer.FinishTracing();
    waitForAFlush();
    EXPECT_EQ(file(0) + file(1), "1\n2\n3\n");
}

TEST_F(Flushing, FinishedLogIsNotTouchedAgain) {
    const std::string path = m_folder / "logger.cfg";
    writeFile(path, "LOG_ON\nLOG_SET_MAX_LINES 2\nLOG_SET_FILE_NAME log\n");
    Logger logger;
    logger.SetFolderName(m_folder.path() + "/");
    logger.ReadConfigFile(path.c_str());
    for (int line = 1; line <= 3; ++line)
        logger.PrintMsg(MSG_ERROR, "%d", line);
    logger.FinishLogging();
    waitForAFlush();
    EXPECT_EQ(readFile(m_folder / "log_0.txt") + readFile(m_folder / "log_1.txt"),
              "[ERROR  ] 1\n[ERROR  ] 2\n[ERROR  ] 3\n");
}

TEST_F(Flushing, LinePrintedIntoAFinishedLogIsWrittenAtOnce) {
    const std::string path = m_folder / "logger.cfg";
    writeFile(path, "LOG_ON\nLOG_SET_FILE_NAME log\n");
    Logger logger;
    logger.SetFolderName(m_folder.path() + "/");
    logger.ReadConfigFile(path.c_str());
    logger.FinishLogging();
    logger.PrintMsg(MSG_ERROR, "late");
    EXPECT_EQ(readFile(m_folder / "log_0.txt"), "[ERROR  ] late\n");
}

TEST_F(Flushing, TraceReadsItsConfigurationAnewBehindItsEnd) {
    const std::string path = m_folder / "tracer.cfg";
    writeFile(path, "TRACE_ON\nTRACE_SET_FILE_NAME trace\n");
    m_tracer.ReadConfigFile(path.c_str());
    m_tracer.FinishTracing();
    m_tracer.ReadConfigFile(path.c_str());
    m_tracer.PrintString("again\n");
    EXPECT_TRUE(waitUntil([this] { return file() == "again\n"; }));
}

/// Runs the action in a child process that can create no threads, in this folder. The limit does not bind the
/// superuser, so the process becomes another user, who may not be able to open the folders above: use
/// relative paths.
static ChildResult withoutThreads(const std::string& folder, const std::function<void()>& action) {
    return runInChild([&] {
        const rlimit none = {0, 0};
        const uid_t nobody = 65534;
        if (chmod(folder.c_str(), 0777) != 0 || chdir(folder.c_str()) != 0 ||
            (geteuid() == 0 && setuid(nobody) != 0) || setrlimit(RLIMIT_NPROC, &none) != 0)
            _exit(77);
        action();
    });
}

TEST_F(Flushing, WithoutAFlushThreadTheTraceIsWrittenAtOnceAndSaysSo) {
    writeFile(m_folder / "tracer.cfg", "TRACE_ON\nTRACE_SET_FILE_NAME trace\n");
    const ChildResult child = withoutThreads(m_folder.path(), [this] {
        m_tracer.SetFolderName("./");
        m_tracer.ReadConfigFile("tracer.cfg");
        m_tracer.PrintString("written\n");
        _exit(0);
    });
    EXPECT_EQ(child.errors, "Tracer : can't start the flush thread, so lines are written at once\n");
    EXPECT_EQ(child.exitStatus, 0);
    EXPECT_EQ(file(), "written\n");
}

TEST_F(Flushing, WithoutAFlushThreadTheLogIsWrittenAtOnceAndSaysSo) {
    writeFile(m_folder / "logger.cfg", "LOG_ON\nLOG_SET_FILE_NAME log\n");
    const ChildResult child = withoutThreads(m_folder.path(), [] {
        Logger logger;
        logger.SetFolderName("./");
        logger.ReadConfigFile("logger.cfg");
        logger.PrintMsg(MSG_ERROR, "written");
        _exit(0);
    });
    EXPECT_EQ(child.errors, "Logger : can't start the flush thread, so lines are written at once\n");
    EXPECT_EQ(child.exitStatus, 0);
    EXPECT_EQ(readFile(m_folder / "log_0.txt"), "[ERROR  ] written\n");
}

TEST_F(Flushing, LogReachesItsFileWithinAboutASecond) {
    const std::string path = m_folder / "logger.cfg";
    writeFile(path, "LOG_ON\nLOG_SET_MSG_FILTER LOG_ERROR\nLOG_SET_FILE_NAME log\n");
    Logger logger;
    Logger::SetInstance(&logger);
    logger.SetFolderName(m_folder.path() + "/");
    logger.ReadConfigFile(path.c_str());
    LOG_MESSAGE(MSG_ERROR, "x");
    EXPECT_FALSE(logger.areAllMsgFlushed());
    EXPECT_TRUE(waitUntil([&] { return logger.areAllMsgFlushed(); }));
    EXPECT_EQ(readFile(m_folder / "log_0.txt"), "[ERROR  ] x\n");
}

TEST_F(Flushing, DirectlyWritingLoggerHasNoFlushThread) {
    const std::string path = m_folder / "logger.cfg";
    writeFile(path, "LOG_ON\nLOG_MUST_FLUSH\nLOG_SET_FILE_NAME log\n");
    Logger logger;
    logger.SetFolderName(m_folder.path() + "/");
    logger.ReadConfigFile(path.c_str());
    logger.setDirectWrite(false);
    logger.PrintMsg(MSG_ERROR, "waits");
    // If there were a flush thread, it would write within two seconds.
    CountingThread clock;
    clock.start();
    ASSERT_TRUE(waitUntil([&] { return clock.m_flushes == 2; }));
    EXPECT_FALSE(logger.areAllMsgFlushed());
}

// The disk hangs while the flush thread drains.
TEST_F(Flushing, DestroyedLoggerIsDisabledAndWaitsForItsFlushThread) {
    std::optional<Logger> logger(std::in_place);
    logger->SetFileName(m_folder / "log");
    logger->setEnabled(true);
    logger->PrintMsg(MSG_ERROR, "first");
    logger->WriteOnFile();
    const std::string file = m_folder / "log_0.txt";
    std::optional<FaultyDisk> disk(std::in_place, file, FaultyDisk::Fault::Hangs);
    logger->PrintMsg(MSG_ERROR, "second");
    logger->Initialize();
    ASSERT_TRUE(waitUntil([&] { return !isLockFree(logger->getLock()); }));

    std::atomic<bool> destroyed{false};
    Logger& inDestruction = *logger;
    std::thread destroyer([&] {
        logger.reset();
        destroyed = true;
    });
    EXPECT_TRUE(waitUntil([&] { return !inDestruction.isEnabled(); }));
    EXPECT_FALSE(destroyed);
    disk.reset();
    destroyer.join();
    EXPECT_EQ(readFile(file), "[ERROR  ] first\n[ERROR  ] second\n");
}

TEST_F(Flushing, FlushThreadWithoutALoggerDoesNothing) {
    LoggerFlushThread thread(nullptr);
    CountingThread clock;
    ASSERT_TRUE(thread.start());
    clock.start();
    EXPECT_TRUE(waitUntil([&] { return clock.m_flushes == 2; }));
    thread.stop();
}
