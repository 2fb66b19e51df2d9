#include "LauncherTest.h"

#include <csignal>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

using namespace Zevo;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

class StartUp : public LauncherTest {
protected:
    void expectExit(int status) {
        ASSERT_TRUE(m_launcher->waitForEnd());
        EXPECT_EQ(m_launcher->endingSignal(), 0);
        EXPECT_EQ(m_launcher->exitStatus(), status);
    }

    bool isThere(const std::string& path) const {
        struct stat status;
        return lstat(path.c_str(), &status) == 0;
    }

    /// Expects that the launcher starts the applications: without a trace, only that shows that it works.
    void expectItWorks() {
        m_bus.plug("1-1", m_modem.modem);
        expectStarts(1, 1);
        EXPECT_TRUE(m_launcher->isRunning());
    }
};

TEST_F(StartUp, WritesTheBannerOfTheCardToTheLog) {
    m_machine.install("ID.txt", "COMMERCIAL_VERSION=1.2\r\nPRODUCT_NAME=Quillmarsh\r\nBU_NAME=North\r\n"
                                "BUILD_TARGET=release\r\nREFERENCE_VERSION=7\r\nPRODUCT_VERSION=3.4\r\n"
                                "UPGRADE_CODE=Zevo\r\n");
    m_trace.restart(m_machine.logFolder() + "/trace_0.txt");
    m_log.restart(m_machine.logFolder() + "/log_0.txt");
    startLauncher();
    EXPECT_EQ(m_log.text(), "[LEVEL_0] Starting Vurl ZevoLauncher with ID card :\n"
                            "[LEVEL_0]  * Commercial version : 1.2\n"
                            "[LEVEL_0]  * Product Name : Quillmarsh\n"
                            "[LEVEL_0]  * BU Name : North\n"
                            "[LEVEL_0]  * Build Target : release\n"
                            "[LEVEL_0]  * Reference version : 7\n"
                            "[LEVEL_0]  * Product version : 3.4\n"
                            "[LEVEL_0]  * Upgrade Code : Zevo\n");
}

TEST_F(StartUp, ScopeOfTheLogFolderIsTheUpgradeCode) {
    m_machine.install("ID.txt", "UPGRADE_CODE=another-code\n");
    m_trace.restart(m_machine.dataFolder() + "/Ferrow/another-code/Logs/trace_0.txt");
    startLauncher();
}

TEST_F(StartUp, DefaultFilesOfTheProductWork) {
    SampleMachine other;
    for (const char* name : {"tracer_zevolauncher.cfg", "logger_launcher.cfg"})
        m_machine.install(name, other.installedText(name));
    startLauncherWithoutWaiting();
    expectItWorks();
}

TEST_F(StartUp, WithoutACardEndsBeforeThereIsATrace) {
    m_machine.uninstall("ID.txt");
    expectStandardError(HasSubstr("/ID.txt is not read : No such file or directory\n"));
    startLauncherWithoutWaiting();
    expectExit(0);
    EXPECT_FALSE(isThere(m_machine.dataFolder() + "/Ferrow"));
}

TEST_F(StartUp, WithACardOfAGigabyteSaysSoAndEnds) {
    ASSERT_EQ(truncate((m_machine.installationFolder() + "/ID.txt").c_str(), 1 << 30), 0);
    expectStandardError(HasSubstr("/ID.txt is not read : it has 1073741824 bytes, and may have 1048576\n"));
    startLauncherWithoutWaiting();
    expectExit(0);
}

TEST_F(StartUp, WithoutEndInItsConfigurationGoesOnWithoutATrace) {
    m_machine.uninstall("tracer_zevolauncher.cfg");
    ASSERT_EQ(symlink("/dev/zero", (m_machine.installationFolder() + "/tracer_zevolauncher.cfg").c_str()), 0);
    expectStandardError(AllOf(HasSubstr("Warning: cannot open tracer configuration file"),
                              HasSubstr("tracer_zevolauncher.cfg\" is not read: it is no regular file\n")));
    startLauncherWithoutWaiting();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
}

TEST_F(StartUp, WithAnAmpersandInTheCardEndsBeforeThereIsATrace) {
    m_machine.install("ID.txt", "UPGRADE_CODE=Zevo\nPRODUCT_NAME=Quill & Marsh\n");
    expectStandardError(HasSubstr("/ID.txt is not read : no line in it is right"));
    startLauncherWithoutWaiting();
    expectExit(0);
    EXPECT_FALSE(isThere(m_machine.dataFolder() + "/Ferrow"));
}

TEST_F(StartUp, CreatesTheLogFolderWithEveryFolderAboveIt) {
    ASSERT_EQ(rmdir(m_machine.dataFolder().c_str()), 0);
    startLauncher();
    struct stat status;
    ASSERT_EQ(stat(m_machine.logFolder().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0777u);
}

TEST_F(StartUp, WhereNoLogFolderCanBeCreatedNamesItAndEndsBeforeThereIsATrace) {
    ASSERT_EQ(rmdir(m_machine.dataFolder().c_str()), 0);
    writeTextFile(m_machine.dataFolder(), "a file is in the way");
    expectStandardError("ZevoLauncher : cannot create the log folder " + m_machine.logFolder() + "/\n");
    startLauncherWithoutWaiting();
    expectExit(0);
}

TEST_F(StartUp, MissingTraceConfigurationOnlyWarns) {
    m_machine.uninstall("tracer_zevolauncher.cfg");
    expectStandardError("Warning: cannot open tracer configuration file \"" + m_machine.installationFolder() +
                        "/tracer_zevolauncher.cfg\"\n");
    startLauncherWithoutWaiting();
    expectItWorks();
    EXPECT_FALSE(isThere(m_trace.path()));
    EXPECT_EQ(m_log.count("Starting Vurl ZevoLauncher with ID card :\n"), 1);
}

TEST_F(StartUp, MissingLogConfigurationOnlyWarns) {
    m_machine.uninstall("logger_launcher.cfg");
    expectStandardError("Warning: cannot open log configuration file \"" + m_machine.installationFolder() +
                        "/logger_launcher.cfg\"\n");
    startLauncher();
    expectItWorks();
    EXPECT_FALSE(isThere(m_log.path()));
}

TEST_F(StartUp, SyntaxErrorInTheTraceConfigurationNamesItsLineAndEndsWithStatus1) {
    m_machine.install("tracer_zevolauncher.cfg", "# a comment\nTRACE_ON\n\nTRACE_SET_MAX_LINES many\n");
    expectStandardError("syntax error at line 4 of tracer config file\n");
    startLauncherWithoutWaiting();
    expectExit(1);
}

TEST_F(StartUp, SyntaxErrorInTheLogConfigurationNamesItsLineAndEndsWithStatus1) {
    m_machine.install("logger_launcher.cfg", "LOG_ON\nLOG_OF\n");
    expectStandardError("syntax error at line 2 of log config file\n");
    startLauncherWithoutWaiting();
    expectExit(1);
}

TEST_F(StartUp, WithoutLauncherConfigurationRunsOnAndNothingMatches) {
    m_machine.uninstall("Launcher.cfg");
    startLauncher();
    EXPECT_EQ(m_trace.count(">> [E] Error accessing ZevoLauncher parameters.\n"), 1);
    EXPECT_EQ(m_trace.count(">> [E] Could not load operator file : " + m_machine.installationFolder() +
                            "/Launcher.cfg.\n"),
              1);
    EXPECT_EQ(m_trace.count("CONFIGURATIONFILEMANAGER_FILE_NOT_FOUND on file "
                            "product/Application/ZevoLauncher/src/ZevoLauncherConfigReader at line 133\n"),
              1);
    m_bus.plug("1-1", m_modem.modem);
    m_bus.plug("1-2", m_modem.cdRom);
    plugMarker();
    expectStarts(0, 0);
}

TEST_F(StartUp, LauncherConfigurationThatIsNoPropertyListIsAsGoodAsNone) {
    m_machine.install("Launcher.cfg", "MacHardwareIdToFind=USB#Vid_12d1&Pid_1001\n");
    startLauncher();
    EXPECT_EQ(m_trace.count(">> [E] No XML header found\n"), 1);
    EXPECT_EQ(m_trace.count(">> [E] Error accessing ZevoLauncher parameters.\n"), 1);
    m_bus.plug("1-1", m_modem.modem);
    plugMarker();
    expectStarts(0, 0);
}

// An identifier without markers is read from its fourth character on. An empty one has none, and nothing
// catches the exception: the launcher ends as in a crash.
TEST_F(StartUp, WithoutTheIdToFindEndsAsACrash) {
    m_machine.installLauncherConfiguration({{"MacHardwareIdToDetect", "USB#Vid_12d1&Pid_1001"},
                                            {"MacCdRomHIdToDetect", "USB#Vid_12d1&Pid_1446"}});
    expectStandardError(HasSubstr("basic_string::substr"));
    startLauncherWithoutWaiting();
    expectExit(0);
    EXPECT_EQ(m_trace.count(">> [E] SIGNAL_ABORT\n"), 1);
    EXPECT_EQ(m_trace.count("-------------- CALLSTACK --------------\n"), 1);
}

TEST_F(StartUp, WhereNothingTellsOfDevicesThatIsAnErrorInTraceAndLog) {
    m_bus.plug("1-1", m_modem.modem);
    expectStandardError(
        "IOKit: cannot listen to udev (Operation not permitted); devices that arrive later will "
        "not be seen\n");
    const char* preloaded = std::getenv("LD_PRELOAD");
    startLauncher({"LD_PRELOAD=" ZEVO_NO_HOT_PLUG_LIBRARY ":" + std::string(preloaded ? preloaded : "")});
    expectStarts(1, 1);
    const std::string text = "No device that arrives or leaves from now on will be noticed.\n";
    EXPECT_EQ(m_trace.count(">> [E] " + text), 1);
    EXPECT_EQ(m_log.count("[ERROR  ] " + text), 1);
}

TEST_F(StartUp, OpensClosedStandardFilesOnTheNullDevice) {
    const std::string program = m_machine.launcherProgram();
    ASSERT_EQ(rename(program.c_str(), (program + "-itself").c_str()), 0);
    writeTextFile(program, "#!/bin/sh\nexec \"$0-itself\" <&- >&- 2>&-\n");
    ASSERT_EQ(chmod(program.c_str(), 0755), 0);
    startLauncher({"LD_PRELOAD="}); // the virtual bus opens a socket of its own with every device
    for (const char* file : {"0", "1", "2"}) {
        const std::string link = "/proc/" + std::to_string(m_launcher->pid()) + "/fd/" + file;
        char target[256] = {};
        EXPECT_GT(readlink(link.c_str(), target, sizeof target - 1), 0) << link;
        EXPECT_STREQ(target, "/dev/null");
    }
}

TEST_F(StartUp, OnlyTheIdToFindIsEnoughForAModemThatIsPresent) {
    m_machine.installLauncherConfiguration({{"MacHardwareIdToFind", "USB#Vid_12d1&Pid_1001"}});
    m_bus.plug("1-1", m_modem.modem);
    startLauncher();
    expectStarts(1, 1);
}

} // namespace
