#include "StartUp.h"

#include "AppData.h"
#include "CallMarker.h"
#include "DataFolders.h"
#include "ExecutableFolder.h"
#include "FileSystemManagement.h"
#include "KFExceptionHandler.h"
#include "LogMessage.h"
#include "Logger.h"
#include "OtherProcess.h"
#include "TextFile.h"
#include "TraceCapture.h"
#include "Tracer.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <sys/stat.h>
#include <vector>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

namespace {

const char CARD[] = "COMMERCIAL_VERSION=3.1\nPRODUCT_NAME=Quillmarsh\nBU_NAME=North\nBUILD_TARGET=release\n"
                    "REFERENCE_VERSION=7.2\nPRODUCT_VERSION=3.1.4\nUPGRADE_CODE=Zevo\n";
const char LOG_ALL[] = "LOG_ON\nLOG_MUST_FLUSH\nLOG_SET_FILE_NAME log\nLOG_SET_MSG_FILTER LOG_LEVEL_0\n";
const char TRACE_ALL[] = "TRACE_ON\nTRACE_MUST_FLUSH\nTRACE_SET_FILE_NAME trace\nTRACE_THE_THREAD *\n"
                         "TRACE_THE_CALL *\nTRACE_SET_MSG_FILTER TRACE_DEBUG TRACE_ERROR\n";

bool isFolder(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool exists(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0;
}

std::vector<std::string> entriesOf(const std::string& folder) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> opened(opendir(folder.c_str()), closedir);
    while (const dirent* const entry = opened != nullptr ? readdir(opened.get()) : nullptr)
        if (std::string(entry->d_name) != "." && std::string(entry->d_name) != "..")
            names.push_back(entry->d_name);
    return names;
}

/// There is one tracer, one logger and one crash handler per process, so each start-up runs in a child
/// process, with an installation folder and application-data folders of its own.
class StartUpTest : public testing::Test {
protected:
    StartUpTest() {
        write("ID.txt", CARD);
        write("tracer_zevolauncher.cfg", TRACE_ALL);
        write("logger_launcher.cfg", LOG_ALL);
    }
    void write(const std::string& name, const std::string& content) { writeFile(m_folder / name, content); }
    void remove(const std::string& name) { std::remove((m_folder / name).c_str()); }

    /// Starts up and runs the action in a child process, which must reach its end.
    template <typename Action>
    void startUp(Action action) {
        EXPECT_TRUE(inAnotherProcess([&] {
            initTracesAndLogs();
            action();
            return !HasFailure();
        }));
    }
    void startUp() {
        startUp([] {});
    }
    /// As startUp(), but broken contracts are ignored, so that start-up continues.
    template <typename Action>
    void startUpRegardless(Action action) {
        EXPECT_TRUE(inAnotherProcess([&] {
            KFExceptionHandler::GetInstance();
            signal(30, SIG_IGN);
            initTracesAndLogs();
            action();
            return !HasFailure();
        }));
    }
    /// Starts up with an existing tracer, and returns its trace; expects that the crash handler ends the
    /// process with status 0.
    std::string traceOfFailedStartUp() {
        TraceCapture trace;
        EXPECT_TRUE(isEndedByCrashHandler([] { initTracesAndLogs(); }));
        return trace.text();
    }

    std::string logFolder() const { return m_data / "user/Ferrow/Zevo/Logs"; }
    std::string log() const { return readFile(logFolder() + "/log_0.txt"); }
    std::string trace() const { return readFile(logFolder() + "/trace_0.txt"); }

    TemporaryFolder m_data;
    DataFolders m_dataFolders{m_data.path()};
    ExecutableFolder m_folder;
};

TEST_F(StartUpTest, TheLogFolderIsCreatedInTheUsersFolderUnderTheUpgradeCode) {
    startUp();
    EXPECT_TRUE(isFolder(logFolder()));
    EXPECT_FALSE(exists(m_data / "var"));
}

TEST_F(StartUpTest, TheGlobalScopeIsTheUpgradeCode) {
    startUp([&] { EXPECT_EQ(AppData::getAllUsersDataPath(), m_data / "var/lib/Ferrow/Zevo/"); });
}

TEST_F(StartUpTest, AllThatItMakesLiesInTheLogFolder) {
    startUp();
    EXPECT_THAT(entriesOf(m_data / "user"), ElementsAre("Ferrow"));
    EXPECT_THAT(entriesOf(m_data / "user/Ferrow"), ElementsAre("Zevo"));
    EXPECT_THAT(entriesOf(m_data / "user/Ferrow/Zevo"), ElementsAre("Logs"));
    EXPECT_THAT(entriesOf(logFolder()), UnorderedElementsAre("launcher.lock", "log_0.txt", "trace_0.txt"));
}

// With such a file, an administrator moves the logs of all users there.
TEST_F(StartUpTest, TheMachinesLogFolderIsUsedWhereItHoldsAFileOfItsName) {
    const std::string machines = m_data / "var/lib/Ferrow/Zevo/Logs";
    EXPECT_TRUE(inAnotherProcess([&] { return FileSystemManagement::createFolder(machines); }));
    writeFile(machines + "/logs", "");
    startUp();
    EXPECT_THAT(log(), HasSubstr("Starting Vurl"));
    writeFile(machines + "/Logs", "");
    startUp();
    EXPECT_THAT(entriesOf(machines),
                UnorderedElementsAre("Logs", "logs", "launcher.lock", "log_0.txt", "trace_0.txt"));
}

TEST_F(StartUpTest, AnExistingLogFolderIsUsed) {
    startUp();
    writeFile(logFolder() + "/kept", "kept");
    startUp();
    EXPECT_EQ(readFile(logFolder() + "/kept"), "kept");
}

TEST_F(StartUpTest, TheBannerHasEightLinesOfTypeEightInThisOrder) {
    startUp();
    EXPECT_EQ(log(), "[LEVEL_0] Starting Vurl program with ID card :\n"
                     "[LEVEL_0]  * Commercial version : 3.1\n"
                     "[LEVEL_0]  * Product Name : Quillmarsh\n"
                     "[LEVEL_0]  * BU Name : North\n"
                     "[LEVEL_0]  * Build Target : release\n"
                     "[LEVEL_0]  * Reference version : 7.2\n"
                     "[LEVEL_0]  * Product version : 3.1.4\n"
                     "[LEVEL_0]  * Upgrade Code : Zevo\n");
}

TEST_F(StartUpTest, WhatTheCardLacksPrintsAsAnEmptyText) {
    write("ID.txt", "UPGRADE_CODE=Zevo\n");
    startUp();
    EXPECT_THAT(log(), AllOf(HasSubstr(" * Product Name : \n"), HasSubstr(" * BU Name : \n")));
}

TEST_F(StartUpTest, ACardWithoutUpgradeCodeGivesAnEmptyScopeAndAnEmptyBannerValue) {
    write("ID.txt", "PRODUCT_NAME=Quillmarsh\n");
    startUp([&] { EXPECT_EQ(AppData::getAllUsersDataPath(), m_data / "var/lib/Ferrow//"); });
    EXPECT_THAT(readFile(m_data / "user/Ferrow/Logs/log_0.txt"), HasSubstr(" * Upgrade Code : \n"));
}

TEST_F(StartUpTest, WithoutBitEightInTheMaskNoBannerIsWrittenAndTheRestIsTheSame) {
    write("logger_launcher.cfg",
          "LOG_ON\nLOG_MUST_FLUSH\nLOG_SET_FILE_NAME log\nLOG_SET_MSG_FILTER LOG_ERROR\n");
    startUp([] { LOG_MESSAGE(MSG_ERROR, "after start-up"); });
    EXPECT_EQ(log(), "[ERROR  ] after start-up\n");
    EXPECT_FALSE(trace().empty());
}

TEST_F(StartUpTest, ADisabledLoggerWritesNoBanner) {
    write("logger_launcher.cfg", "LOG_OFF\n");
    startUp();
    EXPECT_FALSE(exists(logFolder() + "/log_0.txt"));
}

TEST_F(StartUpTest, TheMainThreadIsCalledMainFromItsFirstTracedCallOn) {
    startUp();
    EXPECT_THAT(trace(), HasSubstr("[MAIN           ]IDCardReader::destructor\n"));
    EXPECT_THAT(trace(), Not(HasSubstr("][th_")));
}

TEST_F(StartUpTest, AThreadFilterThatNamesMainLetsTheMainThreadThrough) {
    write("tracer_zevolauncher.cfg",
          "TRACE_ON\nTRACE_MUST_FLUSH\nTRACE_SET_FILE_NAME trace\nTRACE_THE_THREAD MAIN\n"
          "TRACE_THE_CALL *\n");
    startUp([] { TRACE_FUNCTION("afterStartUp"); });
    EXPECT_THAT(trace(), HasSubstr("[MAIN           ]afterStartUp\n"));
}

TEST_F(StartUpTest, MissingConfigurationFilesLeaveTracerAndLoggerDisabled) {
    remove("tracer_zevolauncher.cfg");
    remove("logger_launcher.cfg");
    startUp([] {
        ASSERT_NE(nullptr, Tracer::GetInstance());
        ASSERT_NE(nullptr, Logger::GetInstance());
        EXPECT_FALSE(Tracer::GetInstance()->isEnabled());
        EXPECT_FALSE(Logger::GetInstance()->isEnabled());
    });
    EXPECT_TRUE(isFolder(logFolder()));
}

TEST_F(StartUpTest, ATracerThatIsAlreadyThereKeepsItsFolderAndItsConfiguration) {
    startUp([&] {
        // Starts up a second time in the same process, which has a tracer from the first.
        Tracer* const before = Tracer::GetInstance();
        write("ID.txt", "UPGRADE_CODE=Another\n");
        write("tracer_zevolauncher.cfg", "TRACE_OFF\n");
        initTracesAndLogs();
        EXPECT_EQ(Tracer::GetInstance(), before);
        EXPECT_TRUE(before->isEnabled());
        TRACE_FUNCTION("stillTraced");
    });
    EXPECT_THAT(trace(), HasSubstr("stillTraced\n"));
    EXPECT_FALSE(exists(m_data / "user/Ferrow/Another/Logs/trace_0.txt"));
}

TEST_F(StartUpTest, ALoggerThatIsAlreadyThereKeepsItsFolderAndItsConfiguration) {
    startUp([&] {
        Logger* const before = Logger::GetInstance();
        write("ID.txt", "UPGRADE_CODE=Another\n");
        write("logger_launcher.cfg", "LOG_OFF\n");
        initTracesAndLogs();
        EXPECT_EQ(Logger::GetInstance(), before);
        EXPECT_TRUE(before->isEnabled());
    });
    EXPECT_THAT(log(), HasSubstr(" * Upgrade Code : Another\n"));
    EXPECT_FALSE(exists(m_data / "user/Ferrow/Another/Logs/log_0.txt"));
}

TEST_F(StartUpTest, TheLauncherLeavesItsProcessIdInTheLogFolder) {
    startUp([&] { EXPECT_EQ(readFile(logFolder() + "/launcher.lock"), std::to_string(getpid()) + "\n"); });
}

TEST_F(StartUpTest, AnOlderProcessIdIsReplacedWhole) {
    startUp();
    writeFile(logFolder() + "/launcher.lock", "123456789012\n");
    startUp([&] { EXPECT_EQ(readFile(logFolder() + "/launcher.lock"), std::to_string(getpid()) + "\n"); });
}

TEST_F(StartUpTest, WhereNoLockCanBeHadStartUpGoesOn) {
    startUp();
    std::remove((logFolder() + "/launcher.lock").c_str());
    ASSERT_EQ(mkdir((logFolder() + "/launcher.lock").c_str(), 0700), 0);
    startUp();
    EXPECT_THAT(trace(), HasSubstr("IDCardReader::destructor"));
}

// ---- failures

TEST_F(StartUpTest, WithoutACardTheReportHasItsQuotationMarksAndItsPosition) {
    remove("ID.txt");
    EXPECT_THAT(traceOfFailedStartUp(),
                HasSubstr(">> [E] INTERNAL ERROR : \"cannot start ZevoLauncher: no ID card\" - In File : "
                          "product/Application/ZevoLauncher/src/Mac/Main - At Line : 43\n"));
}

TEST_F(StartUpTest, ACardWithAnAmpersandIsNoCard) {
    write("ID.txt", "PRODUCT_NAME=Quillmarsh & Sons\n");
    EXPECT_THAT(traceOfFailedStartUp(), HasSubstr("no ID card"));
}

TEST_F(StartUpTest, WithoutALogFolderTheReportDeliberatelyHasABlankBeforeItsColon) {
    mkdir((m_data / "user").c_str(), 0777);
    writeFile(m_data / "user/Ferrow", "a file in the way");
    EXPECT_THAT(traceOfFailedStartUp(),
                HasSubstr(">> [E] INTERNAL ERROR : \"cannot start ZevoLauncher : unable to log\" - In File : "
                          "product/Application/ZevoLauncher/src/Mac/Main - At Line : 54\n"));
}

TEST_F(StartUpTest, ALogFolderThatCannotBeCreatedIsNamedOnStandardError) {
    mkdir((m_data / "user").c_str(), 0777);
    writeFile(m_data / "user/Ferrow", "a file in the way");
    testing::internal::CaptureStderr();
    traceOfFailedStartUp();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ZevoLauncher : cannot create the log folder " + logFolder() + "/\n");
}

TEST_F(StartUpTest, WithoutACardStartUpGoesOnWhenTheReportReturns) {
    remove("ID.txt");
    startUpRegardless([&] { EXPECT_EQ(AppData::getAllUsersDataPath(), m_data / "var/lib/Ferrow//"); });
    EXPECT_THAT(
        readFile(m_data / "user/Ferrow/Logs/log_0.txt"),
        AllOf(HasSubstr("Starting Vurl program with ID card :\n"), HasSubstr(" * Product Name : \n")));
}

TEST_F(StartUpTest, PairsReadBeforeAnAmpersandAreUsedWhenTheReportReturns) {
    write("ID.txt", "UPGRADE_CODE=Zevo\nX&Y\nPRODUCT_NAME=unread\n");
    startUpRegardless([] {});
    EXPECT_THAT(log(), AllOf(HasSubstr(" * Upgrade Code : Zevo\n"), HasSubstr(" * Product Name : \n")));
}

TEST_F(StartUpTest, WithoutALogFolderStartUpGoesOnWhenTheReportReturns) {
    mkdir((m_data / "user").c_str(), 0777);
    writeFile(m_data / "user/Ferrow", "a file in the way");
    remove("tracer_zevolauncher.cfg");
    remove("logger_launcher.cfg");
    startUpRegardless([] { EXPECT_NE(nullptr, Logger::GetInstance()); });
}

} // namespace
