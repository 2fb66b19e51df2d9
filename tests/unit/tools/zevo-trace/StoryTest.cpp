#include "StoryText.h"

#include "TraceFiles.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using Zevo::RunStory;

namespace {

const char MODEM[] = "USB#Vid_12d1&Pid_1001";
const char CDROM[] = "USB#Vid_12d1&Pid_1446";
const char APPLICATION[] = "/Applications/Quillmarsh.app";

/// Made-up traces of the launcher. Real ones are tested with the launcher itself, in tests/integration.
class StoryTest : public ::testing::Test {
protected:
    void line(const std::string& body, int milliseconds = 1) {
        m_time += milliseconds;
        char time[32];
        std::snprintf(time, sizeof time, "10:%02d:%02d-%03d", m_time / 60000, m_time / 1000 % 60,
                      m_time % 1000);
        m_text += traceLine(time, body);
    }
    void message(const std::string& text, char level = 'D', int milliseconds = 1) {
        line(std::string("| | >> [") + level + "] " + text, milliseconds);
    }
    void begin(const std::string& modem = MODEM, const std::string& cdRom = CDROM,
               const std::string& toFind = MODEM) {
        line("ZevoLauncher::Main");
        line("| ZevoLauncher::run");
        message("Configured : modem = " + modem + ", cdrom = " + cdRom + ", to be found = " + toFind);
    }
    void look(bool isFound = false) {
        line("| ZevoLauncher::isDeviceFound");
        message(" hardware id to be found : 4817|4097");
        message("Connected device : 7531|2");
        if (isFound)
            message("Device found in Modem list.");
        line("| | <- ZevoLauncher::isDeviceFound");
    }
    void arrival(const std::string& identifier, int milliseconds = 5000) {
        message("Detected hardware id : " + identifier, 'D', milliseconds);
        message(std::string("expected modem hardware id : ") + MODEM);
        message(std::string("expected cdrom hardware id : ") + CDROM);
    }
    void attempt(const std::string& failure = "", char level = 'D') {
        message(std::string("Start executable : ") + APPLICATION);
        if (!failure.empty())
            message(failure, level);
        line("| | ZevoLauncher::isProcessRunning", 15);
    }
    RunStory story() {
        m_files.write("trace_0.txt", m_text, at(10, 0, m_time / 1000.0));
        std::vector<std::string> notes;
        Zevo::Journal journal(Zevo::findRings({m_files.path()}, notes), notes);
        Zevo::StoryTeller teller;
        for (Zevo::JournalLine next; journal.next(next);)
            teller.add(next);
        std::vector<RunStory> stories = teller.takeStories();
        EXPECT_EQ(stories.size(), 1u);
        return stories.empty() ? RunStory() : stories.back();
    }
    std::string told() {
        std::string result;
        Zevo::tell(story(), Zevo::Colours(false), [&](std::string_view text) { result += text; });
        return result;
    }
    std::string answer() { return Zevo::answerOf(story()).text; }
    bool isGood() { return Zevo::answerOf(story()).isGood; }

    TraceFiles m_files;
    std::string m_text;
    int m_time = 0;
};

} // namespace

TEST_F(StoryTest, StartedByAnArrival) {
    begin();
    look();
    arrival(CDROM);
    attempt();
    EXPECT_TRUE(isGood());
    EXPECT_EQ(answer(), "/Applications/Quillmarsh.app was started at 10:00:05.010.");
    EXPECT_THAT(told(), AllOf(HasSubstr("12d1:1446 arrived: the CD-ROM personality that is waited for."),
                              HasSubstr("it was started (15 ms).")));
}

TEST_F(StoryTest, ThePartsOfADeviceAreOneArrival) {
    begin();
    arrival(MODEM);
    attempt();
    arrival(MODEM, 10);
    message(std::string("Executable already running : ") + APPLICATION);
    const RunStory found = story();
    ASSERT_EQ(found.events.size(), 1u);
    EXPECT_EQ(found.events[0].notifications, 2);
    EXPECT_EQ(found.events[0].attempts.size(), 1u);
    EXPECT_TRUE(isGood());
}

TEST_F(StoryTest, ALaterArrivalIsAnotherOne) {
    begin();
    arrival(MODEM);
    attempt();
    arrival(MODEM);
    message(std::string("Executable already running : ") + APPLICATION);
    EXPECT_EQ(story().events.size(), 2u);
    EXPECT_THAT(told(), HasSubstr("was running already, so it was not started again"));
    EXPECT_THAT(answer(), HasSubstr("was started at 10:00:05"));
}

TEST_F(StoryTest, AFailureIsToldInWordsAndOnce) {
    begin();
    arrival(MODEM);
    for (int part = 0; part < 4; ++part)
        attempt("FSPathMakeRef failed : status = -43");
    EXPECT_FALSE(isGood());
    EXPECT_EQ(
        answer(),
        "/Applications/Quillmarsh.app was not started: nothing lies at this path (status -43, fnfErr).");
    EXPECT_THAT(told(),
                AllOf(HasSubstr("its start failed 4 times: nothing lies at this path (status -43, fnfErr). "
                                "Remedy: install the application there."),
                      Not(HasSubstr("started ("))));
}

TEST_F(StoryTest, AFailureThatWasMendedIsNoProblem) {
    begin();
    arrival(MODEM);
    attempt("LSOpenApplication failed : status = -10827", 'E');
    EXPECT_FALSE(isGood());
    arrival(MODEM);
    attempt();
    EXPECT_TRUE(isGood());
}

TEST_F(StoryTest, AnUnknownStatusStaysANumber) {
    begin();
    arrival(MODEM);
    attempt("LSOpenApplication failed : status = -7", 'E');
    EXPECT_THAT(answer(), HasSubstr("status -7, which this program does not know"));
}

TEST_F(StoryTest, PresentAtTheStart) {
    begin();
    look(true);
    attempt();
    EXPECT_TRUE(isGood());
    EXPECT_THAT(told(), HasSubstr("At the start 12d1:1001 was connected already."));
}

TEST_F(StoryTest, NoEventAtAll) {
    begin();
    look();
    EXPECT_FALSE(isGood());
    EXPECT_THAT(answer(), HasSubstr("no USB device has arrived, and the modem was not there at the start"));
    EXPECT_THAT(told(),
                HasSubstr("At the start 12d1:1001 was not connected. There was 1 USB device: 1d6b:0002."));
}

TEST_F(StoryTest, SeveralDevicesAtTheStartAreToldInThePlural) {
    begin();
    line("| ZevoLauncher::isDeviceFound");
    message(" hardware id to be found : 4817|4097");
    message("Connected device : 7531|2");
    message("Connected device : 4817|4099");
    line("| | <- ZevoLauncher::isDeviceFound");
    EXPECT_THAT(told(), HasSubstr("There were 2 USB devices: 1d6b:0002, 12d1:1003."));
}

TEST_F(StoryTest, NoHotPlug) {
    begin();
    message("No device that arrives or leaves from now on will be noticed.", 'E');
    look();
    EXPECT_THAT(answer(), HasSubstr("nothing on this machine tells of devices that arrive"));
}

TEST_F(StoryTest, OtherDevicesOnly) {
    begin();
    look();
    arrival("USB#Vid_0781&Pid_5567");
    arrival("USB#Vid_12d1&Pid_1003");
    EXPECT_THAT(
        answer(),
        HasSubstr("none of the devices that arrived is one that is waited for (12d1:1001 and 12d1:1446): "
                  "0781:5567, 12d1:1003"));
    EXPECT_THAT(told(), HasSubstr("12d1:1003 arrived: not waited for, but of the same maker as 12d1:1001"));
}

TEST_F(StoryTest, IdentifiersThatNothingCanMatch) {
    begin("12d1:1001", "", "USB#VID_12d1&PID_1001");
    look();
    EXPECT_THAT(
        told(),
        AllOf(HasSubstr("MacHardwareIdToDetect is \"12d1:1001\", and devices are reported in the form"),
              HasSubstr("MacCdRomHIdToDetect was not found in Launcher.cfg, or is empty."),
              HasSubstr("MacHardwareIdToFind has to be written with \"Vid_\" and \"Pid_\" exactly so")));
}

TEST_F(StoryTest, AnUnreadableConfiguration) {
    line("ZevoLauncher::Main");
    message("Can't open file /x/Launcher.cfg", 'E');
    message("Could not load operator file : /x/Launcher.cfg.", 'E');
    message("Error accessing ZevoLauncher parameters.", 'E');
    message("Configuration File Manager Exception : CONFIGURATIONFILEMANAGER_FILE_NOT_FOUND", 'E');
    message("hello");
    EXPECT_EQ(answer(),
              "Nothing was started: its configuration could not be read: Can't open file /x/Launcher.cfg.");
    EXPECT_THAT(story().otherErrors, IsEmpty());
}

TEST_F(StoryTest, AMissingKeyThatEndsTheLauncher) {
    begin(MODEM, CDROM, "");
    line("| SIGNAL_FILTER");
    message("SIGNAL_ABORT", 'E');
    EXPECT_THAT(answer(), HasSubstr("because Launcher.cfg has no MacHardwareIdToFind"));
}

TEST_F(StoryTest, ACrash) {
    begin();
    look(true);
    attempt();
    line("| SIGNAL_FILTER");
    message("SIGNAL_SEGMENTATION_FAULT", 'E');
    EXPECT_FALSE(isGood());
    EXPECT_THAT(answer(), HasSubstr("SIGNAL_SEGMENTATION_FAULT (an access to memory that is not there)"));
}

TEST_F(StoryTest, ARequestToEndIsNoCrash) {
    begin();
    look(true);
    attempt();
    line("| SIGNAL_FILTER");
    message("SIGNAL_SOTWARE_TERMINATION", 'E');
    EXPECT_TRUE(isGood());
    EXPECT_THAT(told(),
                HasSubstr("The launcher ended: it was told to terminate (SIGNAL_SOTWARE_TERMINATION)."));
}

TEST_F(StoryTest, NorIsTheSignalThatComesBehindARequestToEnd) {
    begin();
    look(true);
    attempt();
    line("| SIGNAL_FILTER");
    message("UNKNOWN SIGNAL (18)", 'E');
    EXPECT_TRUE(isGood());
    EXPECT_THAT(told(),
                HasSubstr("The launcher ended: it was told to continue, as service managers do behind the "
                          "signal that ends it (UNKNOWN SIGNAL (18))."));
}

TEST_F(StoryTest, TheHarmlessErrorsOfEveryStartAreNotTold) {
    line("ZevoLauncher::Main");
    message("Cant install signal handler for 9 errno = 22.", 'E');
    begin();
    message("A client failed : reason.", 'E');
    EXPECT_THAT(story().otherErrors, ElementsAre("A client failed : reason."));
    EXPECT_THAT(story().configurationErrors, IsEmpty());
}

TEST_F(StoryTest, ATraceWithoutMessagesCannotTell) {
    line("ZevoLauncher::Main");
    line("| ZevoLauncher::run");
    EXPECT_THAT(answer(), HasSubstr("TRACE_SET_MSG_FILTER needs TRACE_DEBUG"));
}

TEST_F(StoryTest, ALostBeginIsTold) {
    arrival(MODEM);
    attempt();
    EXPECT_THAT(told(), HasSubstr("Its begin is not in the trace"));
    EXPECT_TRUE(isGood());
}

TEST_F(StoryTest, AnEndInTheMidstOfAStart) {
    begin();
    arrival(MODEM);
    message(std::string("Start executable : ") + APPLICATION);
    EXPECT_EQ(answer(), "The trace ends before it tells what came of the start.");
}

TEST_F(StoryTest, JsonHoldsTheSame) {
    begin();
    look();
    arrival(MODEM);
    attempt("FSPathMakeRef failed : status = -43");
    const nlohmann::ordered_json json = Zevo::jsonOf(story());
    EXPECT_EQ(json["run"], 1);
    EXPECT_EQ(json["begin"], "2026-01-15 10:00:00.001");
    EXPECT_EQ(json["good"], false);
    EXPECT_EQ(json["events"][0]["kind"], "absent at start");
    EXPECT_EQ(json["events"][1]["device"], "12d1:1001");
    EXPECT_EQ(json["events"][1]["expected"], true);
    EXPECT_EQ(json["events"][1]["attempts"][0]["outcome"], "failed");
    EXPECT_EQ(json["events"][1]["attempts"][0]["status"], -43);
}

TEST(IdentifierTest, IsShortenedAsOtherToolsShowIt) {
    EXPECT_EQ(Zevo::shortIdentifier("USB#Vid_12d1&Pid_1001"), "12d1:1001");
    EXPECT_EQ(Zevo::shortIdentifier("usb#vid_12D1&pid_1001"), "12D1:1001");
    EXPECT_EQ(Zevo::shortIdentifier("4817|4097"), "12d1:1001");
    EXPECT_EQ(Zevo::shortIdentifier("99999|1"), "99999|1");
    EXPECT_EQ(Zevo::shortIdentifier("USB#Vid_12d1"), "USB#Vid_12d1");
    EXPECT_EQ(Zevo::shortIdentifier(""), "");
}
