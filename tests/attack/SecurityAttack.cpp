#include "Attack.h"

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Zevo;
using testing::HasSubstr;

namespace {

/// What a hostile device, file, user or process may try.
class Security : public Attack {
protected:
    mode_t modeOf(const std::string& path) const {
        struct stat status {};
        EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777;
    }
};

TEST_F(Security, TextsOfADeviceAreNoFormats) {
    startLauncher();
    UsbDevice device = m_modem.modem;
    device.productText = "%s%n%99999d%p";
    device.manufacturer = "%n%n%n%n";
    device.serial = "../../%s";
    m_bus.plug("1-1", device);
    plugMarker();
    expectServesAModem();
    EXPECT_EQ(m_trace.text().find("(null)"), std::string::npos);
    tellFigure("a modem whose texts are formats is a modem");
}

// A path in ID.txt is followed: the file belongs to the installation, and who can write it can replace the
// program, too.
TEST_F(Security, AnUpgradeCodeThatIsAPathLeavesTheDataFolderWithTheUsersRightsOnly) {
    m_machine.install("ID.txt", "UPGRADE_CODE=../../outside\n");
    createFolders(m_machine.dataFolder() + "/Ferrow");
    m_trace.restart(m_machine.folder() + "/outside/Logs/trace_0.txt");
    startLauncher();
}

TEST_F(Security, FoldersThatItMakesAreOpenToAllAndAFoldersOwnerMayCloseThem) {
    startLauncher();
    EXPECT_EQ(modeOf(m_machine.logFolder()), 0777u);
    EXPECT_EQ(modeOf(m_machine.logFolder() + "/trace_0.txt"), 0666u);
    terminateLauncher();
    ASSERT_EQ(chmod(m_machine.logFolder().c_str(), 0700), 0);
    unlink((m_machine.logFolder() + "/trace_0.txt").c_str());
    const mode_t before = umask(022);
    startLauncher();
    umask(before);
    EXPECT_EQ(modeOf(m_machine.logFolder()), 0700u);
    EXPECT_EQ(modeOf(m_machine.logFolder() + "/trace_0.txt"), 0644u);
}

// The log folder is open to all: anybody may put a link where the trace file will be.
TEST_F(Security, ALinkInTheOpenLogFolderIsNotFollowed) {
    const std::string theirs = m_machine.folder() + "/precious";
    writeTextFile(theirs, "precious");
    createFolders(m_machine.logFolder());
    ASSERT_EQ(chmod(m_machine.logFolder().c_str(), 0777), 0);
    ASSERT_EQ(symlink(theirs.c_str(), m_trace.path().c_str()), 0);
    expectStandardError(HasSubstr("Tracer : can't open "));
    m_launcher = std::make_unique<LauncherProcess>(m_machine); // startLauncher() would remove the link
    expectServesAModem();
    EXPECT_EQ(readTextFile(theirs), "precious");
}

// A launcher inherits such a variable if the program that starts it was launched through Launch Services.
TEST_F(Security, AForgedMarkOfAStartStartsNothingAndHidesNoRealApplication) {
    startLauncher(
        {"PLATFORM_LAUNCHED=" + std::to_string(getpid()) + ":" + m_machine.placeOf(Bundle::mainApplication)});
    expectServesAModem();
}

TEST_F(Security, WhatIsStartedHasTheLaunchersNiceValueAndLimits) {
    startLauncher();
    ASSERT_EQ(setpriority(PRIO_PROCESS, static_cast<id_t>(m_launcher->pid()), 19), 0);
    rlimit files{};
    ASSERT_EQ(prlimit(m_launcher->pid(), RLIMIT_NOFILE, nullptr, &files), 0);
    files.rlim_cur = 123;
    ASSERT_EQ(prlimit(m_launcher->pid(), RLIMIT_NOFILE, &files, nullptr), 0);
    m_bus.plug("1-1", m_modem.modem);
    const pid_t started = onlyStartOf(Bundle::mainApplication).pid();
    EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(started)), 19);
    ASSERT_EQ(prlimit(started, RLIMIT_NOFILE, nullptr, &files), 0);
    EXPECT_EQ(files.rlim_cur, 123u);
}

// It has the same name, in a bundle other than the configured one.
TEST_F(Security, ALookAlikeOfTheApplicationElsewhereCountsForNothing) {
    const std::string elsewhere = m_machine.folder() + "/root/elsewhere/Quillmarsh.app/Contents/MacOS";
    createFolders(elsewhere);
    const std::string program = elsewhere + "/Quillmarsh";
    writeTextFile(program, readTextFile(m_machine.executableOf(Bundle::mainApplication)));
    ASSERT_EQ(chmod(program.c_str(), 0755), 0);
    const pid_t lookAlike = fork();
    if (lookAlike == 0) {
        execl(program.c_str(), program.c_str(), nullptr);
        _exit(127);
    }
    startLauncher();
    expectServesAModem();
    kill(lookAlike, SIGKILL);
    waitpid(lookAlike, nullptr, 0);
}

} // namespace
