#include "LauncherTest.h"

#include <csignal>
#include <fcntl.h>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>

using namespace Zevo;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class LaunchedApplication : public LauncherTest {
protected:
    void launch() {
        startLauncher();
        m_bus.plug("1-1", m_modem.modem);
        expectStarts(1, 1);
        plugMarker(); // the modem's last arrival is dealt with: nothing more is started
    }

    std::vector<StartReport> bothStarts() {
        return {onlyStartOf(Bundle::mainApplication), onlyStartOf(Bundle::notifier)};
    }
};

/// A descriptor that programs started from here inherit.
class InheritedDescriptor {
public:
    explicit InheritedDescriptor(int descriptor) : m_descriptor(descriptor) { fcntl(descriptor, F_SETFD, 0); }
    ~InheritedDescriptor() { close(m_descriptor); }

private:
    int m_descriptor;
};

TEST_F(LaunchedApplication, OutlivesTheLauncher) {
    launch();
    terminateLauncher();
    for (const StartReport& start : bothStarts())
        EXPECT_EQ(stateOf(start.pid()), 'S') << start.text();
}

TEST_F(LaunchedApplication, HasNoOpenFileButStandardOnesOnNothing) {
    int pipeEnds[2], sockets[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, sockets), 0);
    const InheritedDescriptor ends[] = {InheritedDescriptor(pipeEnds[0]), InheritedDescriptor(pipeEnds[1]),
                                        InheritedDescriptor(sockets[0]), InheritedDescriptor(sockets[1]),
                                        InheritedDescriptor(open(m_machine.folder().c_str(), O_RDONLY))};
    launch();
    EXPECT_GE(descriptorCountOf(m_launcher->pid()), 8) << "the launcher itself inherits them";
    for (const StartReport& start : bothStarts())
        EXPECT_THAT(start.values("descriptor"), ElementsAre("0 /dev/null", "1 /dev/null", "2 /dev/null"));
}

TEST_F(LaunchedApplication, BlocksAndIgnoresNoSignal) {
    launch();
    for (const StartReport& start : bothStarts()) {
        EXPECT_EQ(start.value("blocked"), "0000000000000000");
        EXPECT_EQ(start.value("ignored"), "0000000000000000");
    }
}

TEST_F(LaunchedApplication, LeadsASessionOfItsOwn) {
    launch();
    for (const StartReport& start : bothStarts()) {
        EXPECT_EQ(start.value("session"), start.value("pid"));
        EXPECT_EQ(start.value("group"), start.value("pid"));
    }
}

// The launcher sets its own umask to 0 to create folders; the applications must not inherit it, or all users
// could write their files.
TEST_F(LaunchedApplication, HasTheFileModeMaskThatTheLauncherWasStartedWith) {
    const mode_t before = umask(027);
    launch();
    umask(before);
    for (const StartReport& start : bothStarts())
        EXPECT_EQ(start.value("fileModeMask"), "027");
}

TEST_F(LaunchedApplication, EndLeavesTheLauncherRunningAndNoZombie) {
    launch();
    const std::vector<StartReport> starts = bothStarts();
    ASSERT_TRUE(m_machine.quitApplications());
    plugMarker();
    EXPECT_TRUE(m_launcher->isRunning());
    EXPECT_THAT(childrenOf(m_launcher->pid()), IsEmpty());
}

TEST_F(LaunchedApplication, CrashLeavesTheLauncherRunning) {
    launch();
    kill(onlyStartOf(Bundle::mainApplication).pid(), SIGKILL);
    ASSERT_TRUE(waitUntil([&] { return m_machine.processesOf(Bundle::mainApplication).empty(); }));
    plugMarker();
    EXPECT_TRUE(m_launcher->isRunning());
}

TEST_F(LaunchedApplication, ItsOwnChildsEndLeavesTheLauncherRunning) {
    launch();
    for (const Bundle bundle : {Bundle::mainApplication, Bundle::notifier}) {
        kill(onlyStartOf(bundle).pid(), SIGUSR1);
        ASSERT_TRUE(waitUntil([&] { return !onlyStartOf(bundle).value("child").empty(); }));
    }
    plugMarker();
    EXPECT_TRUE(m_launcher->isRunning());
}

TEST_F(LaunchedApplication, StartedByTheNextLauncherOnlyWhenItNoLongerRuns) {
    launch();
    terminateLauncher();
    startLauncher(); // the modem is still there, and so are the applications
    ASSERT_TRUE(m_trace.waitFor("Executable already running : /Applications/Quillmarsh.app\n"));
    ASSERT_TRUE(m_trace.waitFor(
        "Executable already running : /Applications/Quillmarsh.app/Contents/MacOS/Murmel.app\n"));
    plugMarker();
    expectStarts(1, 1);
}

} // namespace
