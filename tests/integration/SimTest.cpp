#include "JsonSchema.h"
#include "LauncherTest.h"

#include <nlohmann/json.hpp>
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

/// zevo-sim and the real launcher, used as quality assurance would.
class Sim : public testing::Test {
protected:
    Sim() : m_trace(m_machine.logFolder() + "/tracer_zevolauncher_0.txt") {
        m_machine.install("tracer_zevolauncher.cfg",
                          m_machine.installedText("tracer_zevolauncher.cfg") + "TRACE_MUST_FLUSH\n");
    }
    ~Sim() override { EXPECT_TRUE(m_machine.quitApplications()); }

    Answer sim(const std::string& words) {
        std::string command = "env TMPDIR='" + m_folder.path() + "'";
        for (const std::string& entry : m_machine.environment())
            command += " '" + entry + "'";
        command += " '" ZEVO_SIM_PROGRAM "' " + words + " 2>&1";
        std::FILE* const output = popen(command.c_str(), "r");
        Answer answer;
        for (int c = std::fgetc(output); c != EOF; c = std::fgetc(output))
            answer.text += static_cast<char>(c);
        answer.status = WEXITSTATUS(pclose(output));
        return answer;
    }

    Answer play(const std::string& script, const std::string& more = {}) {
        writeTextFile(m_folder.path() + "/a.sim", script);
        return sim("play --let 'trace=" + m_trace.path() + "' " + more + " '" + m_folder.path() +
                   "/a.sim' -- '" + m_machine.launcherProgram() + "'");
    }

    int starts(SampleMachine::Bundle bundle) { return static_cast<int>(m_machine.startsOf(bundle).size()); }

    const ThrowAwayFolder m_folder{"zevo-sim-test"};
    SampleMachine m_machine;
    TextFollower m_trace;
};

const char READY[] = "expect \"hardware id to be found\" in $trace within 20s\n";

} // namespace

TEST_F(Sim, AScriptSeesTheApplicationsStart) {
    const Answer answer =
        play(std::string(READY) + "plug 12d1:1446\n"
                                  "expect application started within 20s\n"
                                  "expect notifier started within 20s\n"
                                  "expect application running\n"
                                  "switch-to\n"
                                  "expect \"Executable already running\" in $trace within 20s\n"
                                  "unplug\n"
                                  "expect \"HID = USB#Vid_12d1&Pid_1001.\" in $trace within 20s\n"
                                  "expect nothing started for 10ms\n"
                                  "stop\n"
                                  "expect program ended with status 0 within 20s\n"
                                  "expect application running\n");
    EXPECT_EQ(answer.status, 0) << answer.text;
    EXPECT_THAT(answer.text, HasSubstr("a.sim: 9 expectations, all met"));
    EXPECT_EQ(starts(SampleMachine::Bundle::mainApplication), 1);
}

TEST_F(Sim, AnotherModemStartsNothingAndIsToldAsNotMet) {
    const std::string report = m_folder.path() + "/report.xml";
    const Answer answer =
        play(std::string(READY) + "plug feed:0001\n"
                                  "expect \"Detected hardware id : USB#Vid_feed\" in $trace within 20s\n"
                                  "expect application started within 10ms\n"
                                  "expect notifier running within 10ms\n"
                                  "expect application not running\n",
             "--junit '" + report + "'");
    EXPECT_EQ(answer.status, 1);
    EXPECT_THAT(answer.text, HasSubstr("a.sim:4:1: not met: /Applications/Quillmarsh.app was not started\n"));
    EXPECT_THAT(answer.text, HasSubstr("5 expectations, 2 not met"));
    EXPECT_THAT(readTextFile(report), HasSubstr("<testsuites tests=\"5\" failures=\"2\" errors=\"0\""));
    EXPECT_EQ(starts(SampleMachine::Bundle::mainApplication), 0);
}

TEST_F(Sim, WhatRunsBeforehandDoesNotCountAsStarted) {
    const std::string script = std::string(READY) + "plug 12d1:1446\nexpect application started within 20s\n";
    ASSERT_EQ(play(script).status, 0);
    m_trace.restart();
    const Answer answer =
        play(std::string(READY) +
             "plug 12d1:1446\n"
             "expect \"Executable already running : /Applications/Quillmarsh.app\" in $trace within 20s\n"
             "expect application started within 10ms\n");
    EXPECT_EQ(answer.status, 1);
    EXPECT_THAT(answer.text, HasSubstr("it was not started: it ran already (process "));
}

TEST_F(Sim, CommandsFromOutsideReachTheLaunchersBus) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        _exit(sim("run --quiet -- '" + m_machine.launcherProgram() + "'").status);
    ASSERT_TRUE(m_trace.waitFor("hardware id to be found")) << m_trace.text();
    EXPECT_EQ(sim("plug huawei-e220").text, "1-1: 12d1:1003, USB CD-ROM\n");
    EXPECT_TRUE(m_trace.waitFor("Detected hardware id : USB#Vid_12d1&Pid_1003\n"));
    EXPECT_EQ(sim("plug 12d1:1446 --switch-to 12d1:1001 --after 50ms").status, 0);
    EXPECT_TRUE(m_trace.waitFor("Detected hardware id : USB#Vid_12d1&Pid_1446\n"));
    EXPECT_TRUE(m_trace.waitFor("Detected hardware id : USB#Vid_12d1&Pid_1001\n"));
    const JsonSchema schema(json::parse(readTextFile(DOCS_FOLDER "/schemas/zevo-sim.json")));
    const json listed = json::parse(sim("list --json").text);
    schema.expectValid(listed, "/definitions/list");
    ASSERT_EQ(listed.at("devices").size(), 2u);
    EXPECT_EQ(listed.at("devices")[1].at("ids"), "12d1:1001");
    EXPECT_TRUE(listed.at("program").at("runs").get<bool>());
    EXPECT_EQ(sim("unplug huawei-e220").status, 0);
    EXPECT_TRUE(m_trace.waitFor("HID = USB#Vid_12d1&Pid_1003."));
    const json storm = json::parse(sim("storm feed:0001 --count 20 --json").text);
    schema.expectValid(storm, "/definitions/storm");
    EXPECT_EQ(storm.at("count"), 20);
    EXPECT_TRUE(storm.at("programRuns").get<bool>());
    EXPECT_TRUE(waitUntil([this] { return m_trace.count("HID = USB#Vid_feed&Pid_0001.") >= 20; }));

    // The launcher ends, and the bus with it.
    kill(json::parse(sim("list --json").text).at("program").at("process").get<pid_t>(), SIGTERM);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    const Answer dead = sim("list");
    EXPECT_EQ(dead.status, 2);
    EXPECT_THAT(dead.text, HasSubstr("no virtual bus is there"));
}

TEST_F(Sim, ADeviceThatIsThereAlreadyIsFound) {
    const Answer answer = sim("run --quiet --plug 12d1:1446 -- true");
    EXPECT_EQ(answer.status, 0) << answer.text;
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        _exit(sim("run --quiet --plug 12d1:1001 -- '" + m_machine.launcherProgram() + "'").status);
    EXPECT_TRUE(m_trace.waitFor("Device found in Modem list.")) << m_trace.text();
    EXPECT_TRUE(waitUntil([this] { return starts(SampleMachine::Bundle::notifier) == 1; }));
    kill(json::parse(sim("list --json").text).at("program").at("process").get<pid_t>(), SIGTERM);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(Sim, ABusWhoseOwnerWasKilledIsToldToBeDead) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        setenv("TMPDIR", m_folder.path().c_str(), 1);
        execl(ZEVO_SIM_PROGRAM, ZEVO_SIM_PROGRAM, "run", "--quiet", "--", "sleep", "1000",
              static_cast<char*>(nullptr));
        _exit(127);
    }
    Answer listed;
    ASSERT_TRUE(waitUntil([&] {
        listed = sim("list --json");
        return listed.status == 0 && json::parse(listed.text).at("program").is_object();
    })) << listed.text;
    const json session = json::parse(listed.text);
    kill(child, SIGKILL);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    const Answer dead = sim("unplug --bus " + session.at("session").get<std::string>());
    EXPECT_EQ(dead.status, 1);
    EXPECT_THAT(dead.text, HasSubstr("that session is dead"));
    EXPECT_EQ(sim("unplug").status, 2);
    // The program does not outlive it.
    const pid_t program = session.at("program").at("process").get<pid_t>();
    EXPECT_TRUE(waitUntil([program] { return kill(program, 0) != 0; }));
}
