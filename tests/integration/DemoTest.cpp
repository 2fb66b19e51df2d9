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

using namespace Zevo;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const char READY[] = "The launcher is ready.";

/** The demo as a user starts it, with a temporary folder of its own to see what it leaves there. */
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

    void start(const char* option = nullptr) {
        m_pid = fork();
        ASSERT_GE(m_pid, 0);
        if (m_pid > 0)
            return;
        const int output = open(m_output.path().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        dup2(output, 1);
        dup2(output, 2);
        setenv("TMPDIR", temporaryFolder().c_str(), 1);
        execl(ZEVO_DEMO_PROGRAM, ZEVO_DEMO_PROGRAM, option, static_cast<char*>(nullptr));
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

TEST_F(Demo, EndsAtCtrlCAndLeavesNothing) {
    start();
    ASSERT_TRUE(m_output.waitFor("Started hidden: ")) << m_output.text();
    kill(m_pid, SIGINT);
    expectEnd(0);
    EXPECT_THAT(m_output.text(), HasSubstr("Interrupted; everything is ended and removed.\n"));
}

TEST_F(Demo, OnTheMachinesOwnBusNamesTheModemAndWaitsForCtrlC) {
    start("--real");
    ASSERT_TRUE(m_output.waitFor("Plug in ")) << m_output.text();
    ASSERT_TRUE(m_output.waitFor("(the modem) or ")) << m_output.text();
    kill(m_pid, SIGINT);
    expectEnd(0);
}

TEST_F(Demo, HelpNamesEveryOption) {
    start("--help");
    expectEnd(0);
    EXPECT_THAT(m_output.text(), HasSubstr("--real"));
}

TEST_F(Demo, UnknownOptionIsAnError) {
    start("--unreal");
    expectEnd(2);
}

} // namespace
