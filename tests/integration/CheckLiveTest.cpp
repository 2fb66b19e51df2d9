#include "LauncherTest.h"

#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Zevo;
using nlohmann::json;
using testing::HasSubstr;

namespace {

struct Answer {
    int status = -1;
    std::string text;
};

/// Runs zevo-check on the launcher's machine and bus.
class CheckLive : public LauncherTest {
protected:
    CheckLive() {
        std::string trace = m_machine.installedText("tracer_zevolauncher.cfg");
        const std::string lines = "MAX_LINES 100000000";
        // A ring for which every disk has room.
        trace.replace(trace.find(lines), lines.size(), "MAX_LINES 100000");
        m_machine.install("tracer_zevolauncher.cfg", trace);
    }

    Answer check(const std::string& options, const std::vector<std::string>& more = {}) {
        // The virtual bus identifies a monitor by its descriptor's number alone, whatever its process: a
        // monitor with the launcher's number would replace the launcher's. So zevo-check inherits descriptors
        // that occupy the low numbers.
        std::vector<int> taken;
        for (int i = 0; i < 30; ++i)
            taken.push_back(dup(STDERR_FILENO));
        std::string command = "env";
        for (const std::string& entry : m_machine.environment())
            command += " '" + entry + "'";
        for (const std::string& entry : more)
            command += " '" + entry + "'";
        command +=
            " '" ZEVO_CHECK_PROGRAM "' --live " + options + " '" + m_machine.installationFolder() + "' 2>&1";
        std::FILE* const output = popen(command.c_str(), "r");
        for (const int file : taken)
            close(file);
        Answer answer;
        for (int c = std::fgetc(output); c != EOF; c = std::fgetc(output))
            answer.text += static_cast<char>(c);
        answer.status = WEXITSTATUS(pclose(output));
        return answer;
    }

    json live() { return json::parse(check("--json").text).at("live"); }
};

std::string processText(pid_t pid) {
    return "process " + std::to_string(pid);
}

} // namespace

TEST_F(CheckLive, TellsOfALauncherAtWork) {
    m_bus.plug("1-1", m_modem.modem);
    startLauncher();
    expectStarts(1, 1);
    const Answer answer = check("");
    EXPECT_EQ(answer.status, 0) << answer.text;
    EXPECT_THAT(answer.text, HasSubstr("  12d1:1001 "));
    EXPECT_THAT(answer.text, HasSubstr("    the modem: its arrival starts the applications\n"
                                       "    the modem that is looked for at the start\n"));
    EXPECT_THAT(answer.text, HasSubstr("devices that arrive and leave are noticed"));
    EXPECT_THAT(answer.text, HasSubstr("  /Applications/Quillmarsh.app\n    runs: " +
                                       processText(onlyStartOf(Bundle::mainApplication).pid()) + "\n"));
    EXPECT_THAT(answer.text, HasSubstr("Murmel.app\n    runs: " +
                                       processText(onlyStartOf(Bundle::notifier).pid()) + "\n"));
    EXPECT_THAT(answer.text, HasSubstr("trace: " + m_machine.logFolder() + "/trace_<n>.txt, 1 file, "));
    EXPECT_THAT(answer.text, HasSubstr("log: " + m_machine.logFolder() + "/log_<n>.txt, 1 file, "));
    EXPECT_THAT(answer.text, HasSubstr("  " + processText(m_launcher->pid()) + ", since 20"));
    EXPECT_THAT(answer.text, HasSubstr("    " + m_machine.launcherProgram() + "\n"));
    EXPECT_THAT(answer.text, HasSubstr("nothing wrong"));
}

TEST_F(CheckLive, TellsWhichPersonalityTheModemShows) {
    m_bus.plug("1-1", m_modem.cdRom);
    const json devices = live().at("devices");
    const json* found = nullptr;
    for (const json& device : devices)
        if (device.at("hardwareId") == hardwareIdentifier(m_modem.cdRom))
            found = &device;
    ASSERT_NE(found, nullptr) << devices;
    EXPECT_TRUE(found->at("isCdRom").get<bool>());
    EXPECT_FALSE(found->at("isModem").get<bool>());
    EXPECT_FALSE(found->at("isModemToFind").get<bool>());
}

TEST_F(CheckLive, TellsThatNoLauncherRunsAndThatTheModemIsNotThere) {
    const Answer answer = check("");
    EXPECT_EQ(answer.status, 1);
    EXPECT_THAT(answer.text, HasSubstr("none of them is the configured modem"));
    EXPECT_THAT(answer.text, HasSubstr("can be started, does not run"));
    EXPECT_THAT(answer.text, HasSubstr("none runs"));
    EXPECT_THAT(answer.text, HasSubstr("1 problem found"));
}

TEST_F(CheckLive, LooksWithoutTakingTheLock) {
    check("");
    EXPECT_NE(access((m_machine.logFolder() + "/launcher.lock").c_str(), F_OK), 0);
    startLauncher();
    const json launchers = live().at("launchers");
    ASSERT_EQ(launchers.size(), 1u);
    EXPECT_EQ(launchers[0].at("process"), m_launcher->pid());
    EXPECT_NEAR(launchers[0].at("since").get<double>(), static_cast<double>(std::time(nullptr)), 120);
}

TEST_F(CheckLive, TellsOfALauncherThatWaits) {
    startLauncher();
    expectStandardError(HasSubstr("another launcher runs"));
    LauncherProcess second(m_machine);
    json launchers;
    ASSERT_TRUE(waitUntil([&] {
        launchers = live().at("launchers");
        return launchers.size() == 2;
    })) << launchers;
    EXPECT_FALSE(launchers[0].at("isWaiting").get<bool>());
    EXPECT_TRUE(launchers[1].at("isWaiting").get<bool>());
    EXPECT_EQ(launchers[1].at("process"), second.pid());
    second.sendSignal(9);
    EXPECT_TRUE(second.waitForEnd());
}

TEST_F(CheckLive, TellsThatHotPlugIsNotToBeHad) {
    const char* const preloaded = std::getenv("LD_PRELOAD");
    const Answer answer =
        check("", {"LD_PRELOAD=" ZEVO_NO_HOT_PLUG_LIBRARY ":" + std::string(preloaded ? preloaded : "")});
    EXPECT_EQ(answer.status, 1);
    EXPECT_THAT(answer.text, HasSubstr("devices that arrive and leave are not noticed"));
    EXPECT_THAT(answer.text, HasSubstr("udev: nothing tells of devices that arrive or leave"));
}

TEST_F(CheckLive, TellsThatAFileHasBeenChangedSinceTheLauncherReadIt) {
    startLauncher();
    const std::string card = m_machine.installationFolder() + "/ID.txt";
    const timespec later[2] = {{std::time(nullptr) + 60, 0}, {std::time(nullptr) + 60, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, card.c_str(), later, 0), 0);
    const Answer answer = check("");
    EXPECT_EQ(answer.status, 1);
    EXPECT_THAT(answer.text, HasSubstr(card + ": has been changed since the launcher (" +
                                       processText(m_launcher->pid()) + ") read it"));
}
