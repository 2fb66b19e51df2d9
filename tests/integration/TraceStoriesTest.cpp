#include "LauncherTest.h"
#include "StoryText.h"

#include <csignal>
#include <cstdio>
#include <sys/wait.h>
#include <unistd.h>

using namespace Zevo;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

/// What zevo-trace reports about real traces of the launcher, with the product's own configuration.
class TraceStories : public LauncherTest {
protected:
    TraceStories() { useInstalledTraceAndLog(); }

    RunStory story() {
        std::vector<std::string> notes;
        Journal journal(findRings({m_machine.logFolder()}, notes), notes);
        EXPECT_THAT(notes, testing::IsEmpty());
        StoryTeller teller;
        for (JournalLine line; journal.next(line);)
            teller.add(line);
        EXPECT_EQ(journal.damagedLines(), 0u) << testing::PrintToString(journal.damages());
        std::vector<RunStory> stories = teller.takeStories();
        return stories.empty() ? RunStory() : stories.back();
    }
    static std::string told(const RunStory& story) {
        std::string result;
        tell(story, Colours(false), [&](std::string_view text) { result += text; });
        return result;
    }
    static std::string answer(const RunStory& story) { return answerOf(story).text; }
    static bool isGood(const RunStory& story) { return answerOf(story).isGood; }
};

TEST_F(TraceStories, Started) {
    startLauncher();
    m_bus.plug("1-1", m_modem.cdRom);
    expectStarts(1, 1);
    plugMarker();
    const RunStory found = story();
    EXPECT_THAT(answer(found), MatchesRegex("/Applications/Quillmarsh.app was started at ..:..:..\\....\\."));
    EXPECT_TRUE(isGood(found));
    EXPECT_THAT(told(found), AllOf(HasSubstr(shortIdentifier(hardwareIdentifier(m_modem.cdRom)) + " (" +
                                             m_modem.cdRom.productText + ") arrived: the CD-ROM personality"),
                                   HasSubstr("Murmel.app was not running; it was started"),
                                   HasSubstr(": Quillmarsh 1.0.0\n")));
}

TEST_F(TraceStories, PresentAtTheStart) {
    m_bus.plug("1-1", m_modem.modem);
    startLauncher();
    expectStarts(1, 1);
    ASSERT_TRUE(m_trace.waitFor("<- ZevoLauncher::processDevice\n"));
    const RunStory found = story();
    EXPECT_TRUE(isGood(found));
    EXPECT_THAT(told(found), HasSubstr("was connected already."));
}

TEST_F(TraceStories, MissingBundle) {
    m_machine.removeBundle(Bundle::mainApplication);
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    plugMarker();
    const RunStory found = story();
    EXPECT_FALSE(isGood(found));
    EXPECT_EQ(
        answer(found),
        "/Applications/Quillmarsh.app was not started: nothing lies at this path (status -43, fnfErr).");
}

TEST_F(TraceStories, BundleWithoutExecutable) {
    unlink(m_machine.executableOf(Bundle::mainApplication).c_str());
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(0, 1);
    plugMarker();
    EXPECT_THAT(answer(story()),
                HasSubstr("the bundle has no executable by the name that is looked for (status -10827"));
}

TEST_F(TraceStories, AlreadyRunning) {
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
    terminateLauncher();
    m_bus.unplug("1-1");
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    plugMarker();
    const RunStory found = story();
    EXPECT_TRUE(isGood(found));
    EXPECT_THAT(answer(found), HasSubstr("was running already"));
    EXPECT_THAT(told(found), Not(HasSubstr("it was started")));
}

TEST_F(TraceStories, NoEventAtAll) {
    startLauncher();
    const RunStory found = story();
    EXPECT_FALSE(isGood(found));
    EXPECT_THAT(answer(found),
                HasSubstr("no USB device has arrived, and the modem was not there at the start"));
}

TEST_F(TraceStories, WrongIdentifiers) {
    configure("USB#Vid_12d1&Pid_9999", "USB#Vid_12d1&Pid_9999", "12d1:1446");
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    plugMarker();
    const RunStory found = story();
    EXPECT_FALSE(isGood(found));
    EXPECT_THAT(answer(found),
                HasSubstr("none of the devices that arrived is one that is waited for (12d1:9999"));
    EXPECT_THAT(
        told(found),
        AllOf(HasSubstr("of the same maker as 12d1:9999"),
              HasSubstr("MacCdRomHIdToDetect is \"12d1:1446\", and devices are reported in the form")));
}

TEST_F(TraceStories, MissingConfiguration) {
    m_machine.uninstall("Launcher.cfg");
    startLauncher();
    EXPECT_EQ(answer(story()), "Nothing was started: its configuration could not be read: Can't open file " +
                                   m_machine.installationFolder() + "/Launcher.cfg.");
}

TEST_F(TraceStories, MissingKeyThatEndsTheLauncher) {
    m_machine.installLauncherConfiguration({{"MacHardwareIdToDetect", "USB#Vid_12d1&Pid_1001"}});
    expectStandardError(HasSubstr("basic_string::substr"));
    startLauncherWithoutWaiting();
    ASSERT_TRUE(m_launcher->waitForEnd());
    EXPECT_THAT(answer(story()), HasSubstr("because Launcher.cfg has no MacHardwareIdToFind"));
}

TEST_F(TraceStories, MissingCard) {
    m_machine.uninstall("ID.txt");
    expectStandardError(testing::HasSubstr("/ID.txt is not read"));
    startLauncherWithoutWaiting();
    ASSERT_TRUE(m_launcher->waitForEnd());
    const std::string command =
        "XDG_DATA_HOME=" + m_machine.dataFolder() + " LD_PRELOAD= " ZEVO_TRACE_PROGRAM " why 2>&1";
    std::FILE* const pipe = popen(command.c_str(), "r");
    std::string output(4096, '\0');
    output.resize(std::fread(output.data(), 1, output.size(), pipe));
    const int status = pclose(pipe);
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_THAT(output, HasSubstr("it says nothing where its card, ID.txt, cannot be read"));
}

TEST_F(TraceStories, Stopped) {
    startLauncher();
    m_bus.plug("1-1", m_modem.modem);
    expectStarts(1, 1);
    terminateLauncher();
    const RunStory found = story();
    EXPECT_TRUE(isGood(found));
    EXPECT_THAT(told(found),
                HasSubstr("The launcher ended: it was told to terminate (SIGNAL_SOTWARE_TERMINATION).\n"));
}

TEST_F(TraceStories, Crashed) {
    startLauncher();
    ASSERT_TRUE(endLauncherBySignal(SIGSEGV));
    EXPECT_THAT(answer(story()), MatchesRegex("The launcher crashed at .*: SIGNAL_SEGMENTATION_FAULT .*"));
}

TEST_F(TraceStories, Killed) {
    startLauncher();
    ASSERT_TRUE(endLauncherBySignal(SIGKILL));
    m_launcher.reset();
    EXPECT_THAT(told(story()), HasSubstr("without a report: the launcher still runs, or was killed."));
}

} // namespace
