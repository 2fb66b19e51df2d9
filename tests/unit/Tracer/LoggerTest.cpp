#include "ChildProcess.h"
#include "LogMessage.h"
#include "Logged.h"

#include <climits>
#include <gmock/gmock.h>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using namespace kf::detail;

using testing::ElementsAre;

namespace {
const char* const LOGGER_POSITION = " product/Infrastructure/ProgrammingServices/Tracer/src/Logger:";
} // namespace

class LoggerCore : public Logged {
protected:
    void logDirectly() {
        m_logger.SetFileName("log");
        m_logger.setDirectWrite(true);
    }
};

// ---- the instance

TEST_F(LoggerCore, InstanceIsTheOneThatWasSet) {
    EXPECT_EQ(Logger::GetInstance(), &m_logger);
    Logger other;
    Logger::SetInstance(&other);
    EXPECT_EQ(Logger::GetInstance(), &other);
}

TEST_F(LoggerCore, SettingANullInstanceBreaksBothContractsAndStoresIt) {
    Logger* const none = nullptr;
    Logger::SetInstance(none);
    EXPECT_EQ(Logger::GetInstance(), nullptr);
    EXPECT_THAT(takeContractViolations(),
                ElementsAre(std::string("REQUIRE VIOLATION: pTheLogger != NULL") + LOGGER_POSITION + "49",
                            std::string("ENSURE VIOLATION: m_pInstance != NULL") + LOGGER_POSITION + "51"));
}

TEST_F(LoggerCore, DestroyedLoggerIsNoLongerTheInstance) {
    {
        Logger other;
        Logger::SetInstance(&other);
    }
    EXPECT_EQ(Logger::GetInstance(), nullptr);
    Logger::SetInstance(&m_logger);
    { Logger other; }
    EXPECT_EQ(Logger::GetInstance(), &m_logger);
}

TEST_F(LoggerCore, BeginsDisabledWithDefaults) {
    EXPECT_FALSE(m_logger.isEnabled());
    EXPECT_EQ(m_logger.getLevelMask(), 0);
    EXPECT_EQ(logRing().getMaximumFiles(), 10);
    EXPECT_EQ(logRing().getMaximumLinesPerFile(), 100000);
    EXPECT_EQ(logRing().getBaseFileName(), "");
}

// ---- lines

TEST_F(LoggerCore, EveryLevelHasItsTag) {
    logDirectly();
    for (std::uint32_t type = 1; type <= 512; type *= 2)
        m_logger.PrintMsg(static_cast<LoggerMsgType>(type), "x");
    EXPECT_EQ(log(), "[DEBUG  ] x\n[ERROR  ] x\n[WARNING] x\n[LEVEL_0] x\n[LEVEL_1] x\n[LEVEL_2] x\n"
                     "[LEVEL_3] x\n[LEVEL_4] x\n[LEVEL_5] x\nx\n");
}

TEST_F(LoggerCore, TimeStampStandsDirectlyBeforeTheTag) {
    logDirectly();
    m_logger.setPrintTime(true);
    m_logger.PrintMsg(MSG_LEVEL_0, "%s %d", "device", 7);
    EXPECT_TRUE(
        std::regex_match(log(), std::regex("\\[\\d\\d:\\d\\d:\\d\\d-\\d{3}\\]\\[LEVEL_0\\] device 7\n")))
        << log();
}

TEST_F(LoggerCore, ATextThatIsRefusedInTheMiddleIsFormattedFromItsBeginning) {
    logDirectly();
    m_logger.setEnabled(true);
    m_logger.addToLevelMask(MSG_ERROR);
    LOG_MESSAGE(MSG_ERROR, "%s %d %ld %zu %.2f %s %u", "device", -7, -8L, std::size_t{9}, 1e20, "is", 10U);
    EXPECT_EQ(log(), "[ERROR  ] device -7 -8 9 100000000000000000000.00 is 10\n");
}

TEST_F(LoggerCore, PrintingTestsNeitherSwitchNorMask) {
    logDirectly();
    EXPECT_FALSE(m_logger.isEnabled());
    m_logger.PrintMsg(MSG_ERROR, "written");
    EXPECT_EQ(log(), "[ERROR  ] written\n");
}

TEST_F(LoggerCore, CallSitesTestInstanceSwitchAndMask) {
    logDirectly();
    LOG_MESSAGE(MSG_ERROR, "disabled");
    m_logger.setEnabled(true);
    LOG_MESSAGE(MSG_ERROR, "not in the mask");
    m_logger.addToLevelMask(MSG_ERROR);
    LOG_MESSAGE(MSG_WARNING, "not in the mask");
    LOG_MESSAGE(MSG_ERROR, "written");
    Logger* const none = nullptr;
    Logger::SetInstance(none);
    takeContractViolations();
    LOG_MESSAGE(MSG_ERROR, "no logger");
    EXPECT_EQ(log(), "[ERROR  ] written\n");
}

TEST_F(LoggerCore, MessageOf3000CharactersIsWrittenWhole) {
    logDirectly();
    const std::string text(3000, 't');
    m_logger.PrintMsg(MSG_ERROR, "%s", text.c_str());
    EXPECT_EQ(log(), "[ERROR  ] " + text + "\n");
}

TEST_F(LoggerCore, MessageOf2048CharactersDeliberatelyLosesItsLastOne) {
    logDirectly();
    m_logger.PrintMsg(MSG_ERROR, "%s", std::string(2048, 't').c_str());
    EXPECT_EQ(log(), "[ERROR  ] " + std::string(2047, 't') + "\n");
}

TEST_F(LoggerCore, MessageOf25000CharactersIsCutTo19999AndMarked) {
    logDirectly();
    m_logger.PrintMsg(MSG_ERROR, "%s", std::string(25000, 't').c_str());
    EXPECT_EQ(log(), "[ERROR  ] " + std::string(19999, 't') + " ...\n");
}

TEST_F(LoggerCore, EmptyMessageIsALine) {
    logDirectly();
    m_logger.PrintMsg(static_cast<LoggerMsgType>(0), "%s", "");
    EXPECT_EQ(log(), "\n");
}

TEST_F(LoggerCore, EmptyLineBreaksTheContract) {
    m_logger.SetFileName("msvc");
    m_logger.PrintString("");
    EXPECT_THAT(takeContractViolations(),
                ElementsAre(std::string("REQUIRE VIOLATION: !(msg.empty())") + LOGGER_POSITION + "242"));
}

TEST_F(LoggerCore, ThreadNameIsNoPartOfALine) {
    logDirectly();
    {
        const KFLock lock(m_logger.getLock());
        m_logger.PrintThreadName();
    }
    m_logger.PrintMsg(MSG_ERROR, "x");
    EXPECT_EQ(log(), "[ERROR  ] x\n");
}

TEST_F(LoggerCore, TheStampsOfManyThreadsAscend) {
    m_logger.SetFileName("log");
    m_logger.setMaximumLinesPerFile(INT_MAX);
    m_logger.setPrintTime(true);
    const int threadCount = 8;
    const int linesOfEach = 50000;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread)
        threads.emplace_back([&] {
            for (int line = 0; line < linesOfEach; ++line)
                m_logger.PrintMsg(MSG_ERROR, "x");
        });
    for (std::thread& thread : threads)
        thread.join();
    m_logger.FinishLogging();
    std::istringstream lines(log());
    std::string line;
    std::string before;
    int count = 0;
    int stepsBack = 0;
    for (; std::getline(lines, line); ++count) {
        // At midnight stamps begin again at 00.
        if (line < before && line.compare(0, 3, "[00") != 0)
            ++stepsBack;
        before = line;
    }
    EXPECT_EQ(stepsBack, 0);
    EXPECT_EQ(count, threadCount * linesOfEach);
}

TEST_F(LoggerCore, ConsoleLinesAreDeliberatelyFollowedByAnEmptyLine) {
    const ChildResult result = runInChild([this] {
        m_logger.SetFileName("console");
        m_logger.PrintMsg(MSG_ERROR, "one");
        m_logger.setDirectWrite(true);
        m_logger.PrintMsg(MSG_ERROR, "two");
        m_logger.FinishLogging();
    });
    EXPECT_EQ(result.output, "[ERROR  ] one\n\n[ERROR  ] two\n\n");
    EXPECT_EQ(result.errors, "");
}

TEST_F(LoggerCore, NothingIsWrittenForMsvc) {
    const ChildResult result = runInChild([this] {
        if (chdir(m_folder.path().c_str()) != 0)
            _exit(2);
        m_logger.SetFileName("msvc");
        m_logger.PrintMsg(MSG_ERROR, "one");
        m_logger.WriteOnFile();
        if (!m_logger.areAllMsgFlushed())
            _exit(4);
        m_logger.FinishLogging();
        _exit(access("msvc", F_OK) == 0 ? 3 : 0);
    });
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output + result.errors, "");
}

// ---- beginning and finishing

TEST_F(LoggerCore, FinishingDisablesAndWritesTheQueuedLines) {
    m_logger.SetFileName("log");
    m_logger.setEnabled(true);
    m_logger.PrintMsg(MSG_ERROR, "x");
    EXPECT_FALSE(m_logger.areAllMsgFlushed());
    m_logger.FinishLogging();
    EXPECT_FALSE(m_logger.isEnabled());
    EXPECT_TRUE(m_logger.areAllMsgFlushed());
    EXPECT_EQ(log(), "[ERROR  ] x\n");
}

TEST_F(LoggerCore, FinishingADirectlyWritingLoggerLeavesItsQueueAlone) {
    m_logger.SetFileName("log");
    m_logger.setEnabled(true);
    m_logger.PrintMsg(MSG_ERROR, "waits");
    m_logger.setDirectWrite(true);
    m_logger.FinishLogging();
    EXPECT_FALSE(m_logger.isEnabled());
    EXPECT_FALSE(m_logger.areAllMsgFlushed());
    EXPECT_EQ(log(), "(none)");
}

TEST_F(LoggerCore, FinishingGivesUpWhenTheFileCannotBeOpened) {
    const ChildResult result = runInChild([this] {
        m_logger.SetFileName(m_folder / "missing/log");
        m_logger.PrintMsg(MSG_ERROR, "x");
        m_logger.FinishLogging();
    });
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.errors, "Logger : can't open " + (m_folder / "missing/log_0.txt") + "\n");
}

TEST_F(LoggerCore, EnabledWithoutAFileNameEndsTheProcess) {
    const std::string config = m_folder / "logger.cfg";
    writeFile(config, "LOG_ON\n");
    const ChildResult result = runInChild([&] { m_logger.ReadConfigFile(config.c_str()); });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.output, "please call Logger_SET_FILE_NAME(fileName)\n");
}

TEST_F(LoggerCore, DisabledWithoutAFileNameIsNoError) {
    const std::string config = m_folder / "logger.cfg";
    writeFile(config, "LOG_CLOCK\n");
    const ChildResult result = runInChild([&] { m_logger.ReadConfigFile(config.c_str()); });
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output + result.errors, "");
}

TEST_F(LoggerCore, NullConfigurationFileBreaksTheContract) {
    testing::internal::CaptureStderr();
    m_logger.ReadConfigFile(nullptr);
    testing::internal::GetCapturedStderr();
    EXPECT_THAT(takeContractViolations(),
                ElementsAre(std::string("REQUIRE VIOLATION: fileName != NULL") + LOGGER_POSITION + "80"));
}

TEST_F(LoggerCore, CrashHandlersDrainWritesWhenTheLockIsFree) {
    m_logger.SetFileName("log");
    m_logger.PrintMsg(MSG_ERROR, "x");
    m_logger.WriteAtCrash();
    EXPECT_EQ(log(), "[ERROR  ] x\n");
}

TEST_F(LoggerCore, CrashHandlersDrainDoesWithoutALockThatIsNotGivenBack) {
    m_logger.SetFileName("log");
    m_logger.PrintMsg(MSG_ERROR, "x");
    const KFLock lock(m_logger.getLock());
    std::thread([&] { m_logger.WriteAtCrash(); }).join();
    EXPECT_EQ(log(), "[ERROR  ] x\n");
}

TEST_F(LoggerCore, CrashHandlersDrainWritesInsideTheThreadThatHasTheLock) {
    m_logger.SetFileName("log");
    m_logger.PrintMsg(MSG_ERROR, "x");
    const KFLock lock(m_logger.getLock());
    m_logger.WriteAtCrash();
    EXPECT_EQ(log(), "[ERROR  ] x\n");
}
