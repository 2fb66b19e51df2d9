#include "SampleMachine.h"
#include "TextFollower.h"
#include "ThrowAwayFolder.h"

#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace Zevo;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const char READY[] = "The launcher is ready.";

/// The demo as a user starts it, with a temporary folder of its own, so that a test sees what it leaves
/// there.
class Demo : public testing::Test {
protected:
    Demo() : m_folder("zevo-demo-test"), m_output(m_folder.path() + "/output.txt") {
        createFolders(temporaryFolder());
    }

    ~Demo() override {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
    }

    void start(const std::vector<std::string>& options = {}) {
        m_pid = fork();
        ASSERT_GE(m_pid, 0);
        if (m_pid > 0)
            return;
        const int output = open(m_output.path().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        dup2(output, 1);
        dup2(output, 2);
        setenv("TMPDIR", temporaryFolder().c_str(), 1);
        std::vector<char*> arguments = {const_cast<char*>(ZEVO_DEMO_PROGRAM)};
        for (const std::string& option : options)
            arguments.push_back(const_cast<char*>(option.c_str())); // execv only reads them
        arguments.push_back(nullptr);
        execv(ZEVO_DEMO_PROGRAM, arguments.data());
        _exit(127);
    }

    void expectEnd(int status) {
        int result = 0;
        ASSERT_TRUE(
            waitUntil([&] { return waitpid(m_pid, &result, WNOHANG) == m_pid; }, std::chrono::seconds(60)))
            << m_output.text();
        m_pid = -1;
        EXPECT_TRUE(WIFEXITED(result));
        EXPECT_EQ(WEXITSTATUS(result), status) << m_output.text();
        EXPECT_THAT(leftFiles(), IsEmpty());
    }

    std::string temporaryFolder() const { return m_folder.path() + "/tmp"; }

    std::vector<std::string> leftFiles() const {
        std::vector<std::string> result;
        const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(temporaryFolder().c_str()), &closedir);
        while (const dirent* entry = listing ? readdir(listing.get()) : nullptr)
            if (entry->d_name[0] != '.')
                result.push_back(entry->d_name);
        return result;
    }

    const ThrowAwayFolder m_folder;
    TextFollower m_output;
    pid_t m_pid = -1;
};

TEST_F(Demo, TellsTheWholeJobAndLeavesNothing) {
    start();
    expectEnd(0);
    for (const char* text :
         {READY, "Plugging in a modem that shows itself as a CD-ROM", "arrive.\n",
          "Started: /Applications/Quillmarsh.app (process ",
          "Started hidden: /Applications/Quillmarsh.app/Contents/MacOS/Murmel.app (process ",
          "The modem switches", "It runs already and is not started again: /Applications/Quillmarsh.app\n",
          "The end of the trace, ", "The log, ", "ID card :\n", "Unplugging the modem.\n", "leave.\n",
          "has ended with status 0.\n"})
        EXPECT_THAT(m_output.text(), HasSubstr(text));
    EXPECT_LT(m_output.text().find("Started: "), m_output.text().find("It runs already"));
}

TEST_F(Demo, ShowsAnotherModemWithAConfigurationForIt) {
    start({"--modem", "12d1:1003"});
    expectEnd(0);
    for (const char* text : {"It waits for the modem 12d1:1003 and for its CD-ROM personality 12d1:1003.",
                             "a CD-ROM, 12d1:1003, at port 1-1.",
                             "Started: /Applications/Quillmarsh.app (process ", "The modem switches"})
        EXPECT_THAT(m_output.text(), HasSubstr(text));
}

TEST_F(Demo, ShowsAnIntegratorsConfigurationAndSaysWhatIsWrongWithIt) {
    const std::string folder = m_folder.path() + "/own";
    createFolders(folder);
    const SampleMachine machine;
    for (const char* const name : {"ID.txt", "tracer_zevolauncher.cfg", "logger_launcher.cfg"})
        writeTextFile(folder + "/" + name, machine.installedText(name));
    std::string text = machine.installedText("Launcher.cfg");
    text.replace(text.find("Pid_1446"), 8, "Pid_14fe");
    text.replace(text.find("MacCdRomHIdToDetect"), 19, "MacCdRomHidToDetect");
    writeTextFile(folder + "/Launcher.cfg", text);
    start({"--config", folder, "--modem", "12d1:1446"});
    expectEnd(1);
    EXPECT_THAT(m_output.text(), HasSubstr("Launcher.cfg:4:7: a key that the launcher does not look for"));
    EXPECT_THAT(m_output.text(), HasSubstr("Nothing will be started for 12d1:1446, which this modem shows"));
    EXPECT_THAT(m_output.text(), HasSubstr("not met: /Applications/Quillmarsh.app was not started"));
    EXPECT_THAT(m_output.text(), HasSubstr("zevo-demo: What should have happened did not"));
}

TEST_F(Demo, AConfigurationThatNamesNoModemIsToldAtOnce) {
    const std::string folder = m_folder.path() + "/own";
    createFolders(folder);
    start({"--config", folder});
    expectEnd(1);
    EXPECT_THAT(m_output.text(), HasSubstr("Launcher.cfg: there is no such file"));
    EXPECT_THAT(m_output.text(), HasSubstr("Launcher.cfg does not name the modem"));
}

TEST_F(Demo, EndsAtCtrlCAndLeavesNothing) {
    start();
    ASSERT_TRUE(m_output.waitFor("Started hidden: ")) << m_output.text();
    kill(m_pid, SIGINT);
    expectEnd(0);
    EXPECT_THAT(m_output.text(), HasSubstr("Interrupted; everything is ended and removed.\n"));
}

TEST_F(Demo, OnTheMachinesOwnBusNamesTheModemAndWaitsForCtrlC) {
    start({"--real"});
    ASSERT_TRUE(m_output.waitFor("Plug in ")) << m_output.text();
    ASSERT_TRUE(m_output.waitFor("(the modem) or ")) << m_output.text();
    kill(m_pid, SIGINT);
    expectEnd(0);
}

TEST_F(Demo, HelpNamesEveryOption) {
    start({"--help"});
    expectEnd(0);
    for (const char* const option : {"--real", "--modem", "--config"})
        EXPECT_THAT(m_output.text(), HasSubstr(option));
}

TEST_F(Demo, UnknownOptionIsAnError) {
    start({"--unreal"});
    expectEnd(2);
}

} // namespace
