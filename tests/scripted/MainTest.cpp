#include "CallMarker.h"
#include "ExecutableFolder.h"
#include "LauncherConfiguration.h"
#include "LogMessage.h"
#include "OtherProcess.h"
#include "Script.h"
#include "ScriptedApplications.h"
#include "ScriptedRegistry.h"
#include "TextFile.h"
#include "TextOrder.h"
#include "TraceCapture.h"
#include "Tracer.h"

#include <stdexcept>
#include <sys/stat.h>

/// The launcher's main, compiled under this name because the test program has a main of its own.
int launcherMain();

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

// Without direct writing: what the files hold when main has returned was written at its end.
const char TRACE_ALL[] = "TRACE_ON\nTRACE_SET_FILE_NAME trace\nTRACE_THE_THREAD *\nTRACE_THE_CALL *\n"
                         "TRACE_SET_MSG_FILTER TRACE_DEBUG TRACE_ERROR\nTRACE_CALL_EXIT\n";
const char LOG_ALL[] = "LOG_ON\nLOG_SET_FILE_NAME log\nLOG_SET_MSG_FILTER LOG_LEVEL_0\n";
const char RULE[] = "-----------------------------------------------";

class MainTest : public ScriptedTest {
protected:
    MainTest() {
        ScriptedApplications::current().standardFolder = m_data.path();
        write("ID.txt", "UPGRADE_CODE=Zevo\n");
        write("tracer_zevolauncher.cfg", TRACE_ALL);
        write("logger_launcher.cfg", LOG_ALL);
        write("Launcher.cfg", launcherConfiguration(MODEM, MODEM, MODEM));
    }
    void write(const std::string& name, const std::string& content) { writeFile(m_folder / name, content); }

    /// Runs main in a child process, because it changes much of its process. Its run loop calls
    /// `whileRunning` and ends; when main has returned, `check` is called.
    template <typename Check>
    void runMain(std::function<void()> whileRunning, Check check) {
        EXPECT_TRUE(inAnotherProcess([&] {
            ScriptedRegistry::current().whileRunning = whileRunning;
            EXPECT_EQ(launcherMain(), 0);
            check();
            return !HasFailure();
        }));
    }
    void runMain() {
        runMain(
            nullptr, [] {});
    }

    std::string trace() const { return readFile(m_data / "Ferrow/Zevo/Logs/trace_0.txt"); }
    std::string log() const { return readFile(m_data / "Ferrow/Zevo/Logs/log_0.txt"); }

    TemporaryFolder m_data;
    ExecutableFolder m_folder;
};

TEST_F(MainTest, ReturnsZeroWhenTheRunLoopHasEnded) {
    runMain(
        nullptr, [&] { EXPECT_EQ(script().calls().back(), "CFRunLoopRun()"); });
}

TEST_F(MainTest, TracesThreeLinesAtLevelOneBeforeTheLauncherIsMade) {
    runMain();
    const std::string rule = std::string(">> [D] ") + RULE + "\n";
    EXPECT_TRUE(
        standInOrder(trace(), {"ZevoLauncher::Main\n", rule, ">> [D] \t\t\tLaunching ZevoLauncher\n", rule,
                               "ZevoLauncher::constructor\n", "ZevoLauncher::init\n", "ZevoLauncher::run\n"}))
        << trace();
}

TEST_F(MainTest, TracesTheMainThreadByItsName) {
    runMain();
    EXPECT_THAT(trace(), AllOf(HasSubstr("[MAIN "), Not(HasSubstr("][th_"))));
}

TEST_F(MainTest, ItsEndWritesWhatIsStillQueuedForTheTrace) {
    runMain([] { TRACE_FUNCTION("whileTheLoopRuns"); }, [] {});
    EXPECT_TRUE(standInOrder(trace(), {"ZevoLauncher::run\n", "whileTheLoopRuns\n", "ZevoLauncher::run\n"}))
        << trace();
}

TEST_F(MainTest, ItsEndWritesWhatIsStillQueuedForTheLog) {
    runMain([] { LOG_MESSAGE(MSG_LEVEL_0, "while the loop runs"); }, [] {});
    EXPECT_THAT(log(), AllOf(StartsWith("[LEVEL_0] Starting Vurl program with ID card :\n"),
                             testing::EndsWith("[LEVEL_0] while the loop runs\n")));
}

TEST_F(MainTest, TheTraceEndsBeforeTheLauncherIsDestroyed) {
    runMain();
    EXPECT_THAT(trace(), Not(HasSubstr("ZevoLauncher::destructor")));
}

TEST_F(MainTest, ItsEndEndsTheTraceOfTheMainThread) {
    runMain(nullptr, [] {
        Tracer::GetInstance()->setDirectWrite(true);
        Tracer::GetInstance()->setEnabled(true);
        TRACE_FUNCTION("afterMain");
    });
    // If the thread were still registered, the line would have its name and be indented below
    // ZevoLauncher::Main.
    EXPECT_THAT(trace(), testing::ContainsRegex("\\[th_-?[0-9]+ *\\]afterMain\n"));
}

TEST_F(MainTest, WithoutTraceAndLogTheEndIsTheSame) {
    write("tracer_zevolauncher.cfg", "TRACE_OFF\n");
    write("logger_launcher.cfg", "LOG_OFF\n");
    runMain(nullptr, [&] { EXPECT_EQ(script().calls().back(), "CFRunLoopRun()"); });
}

TEST_F(MainTest, WithoutAFolderForApplicationDataItTellsWhereItWantedToLogAndEnds) {
    const std::string code = "NoFolderOf" + std::to_string(getpid());
    const std::string folder = "/Ferrow/" + code + "/Logs/";
    write("ID.txt", "UPGRADE_CODE=" + code + "\n");
    ScriptedApplications::current().standardFolder.clear();
    TraceCapture trace;
    testing::internal::CaptureStderr();
    EXPECT_TRUE(isEndedByCrashHandler([] { launcherMain(); }));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ZevoLauncher : cannot create the log folder " + folder +
                  " : the system knows no folder for the user's application data\n");
    EXPECT_THAT(trace.text(),
                HasSubstr(">> [E] INTERNAL ERROR : \"cannot start ZevoLauncher : unable to log\" - In File : "
                          "product/Application/ZevoLauncher/src/Mac/Main - At Line : 54\n"));
    EXPECT_NE(0, access(folder.c_str(), F_OK)) << "not in the root of the machine either";
}

TEST_F(MainTest, AFolderThatIsThereIsLoggedIntoWhateverTheSystemKnows) {
    ScriptedApplications::current().standardFolder.clear();
    // Beside the executable: a log folder that exists there is used.
    for (const char* folder : {"Logs", "Logs/Logs"})
        ASSERT_EQ(mkdir((m_folder / folder).c_str(), 0777), 0);
    runMain();
    EXPECT_THAT(readFile(m_folder / "Logs/log_0.txt"), HasSubstr("Starting Vurl"));
}

TEST_F(MainTest, WhatEscapesRunIsDeliberatelyNotCaught) {
    write("Launcher.cfg", launcherConfiguration(MODEM, "US", MODEM));
    EXPECT_TRUE(inAnotherProcess([&] {
        EXPECT_THROW(launcherMain(), std::out_of_range);
        return !HasFailure();
    }));
}

} // namespace
