#pragma once

#include "Journal.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Zevo {

/// The outcome for one application at one trigger.
struct LaunchAttempt {
    enum class Outcome { started, alreadyRunning, failed, unknown };

    std::string path;
    Outcome outcome = Outcome::unknown;
    int status = 0; ///< of a failure
    int times = 1;  ///< each part of a device triggers another attempt
    Moment begin = -1;
    Moment end = -1;
};

/// An event that made the launcher check, or could have.
struct DeviceEvent {
    enum class Kind { absentAtStart, presentAtStart, arrival, removal };

    Kind kind = Kind::arrival;
    std::string identifier; ///< as the trace has it; empty at the start
    Moment time = -1;
    int notifications = 1; ///< a device and each of its parts notify
    std::vector<LaunchAttempt> attempts;
};

/// One run of the launcher, according to its trace and its log.
struct RunStory {
    Moment begin = -1;
    Moment end = -1;
    std::map<std::string, std::string> card; ///< "Product Name" and so on, from the log

    std::string modem;
    std::string cdRom;
    std::string toFind;
    std::string configurationFile;                ///< the one that could not be read
    std::vector<std::string> configurationErrors; ///< the first one is the reason
    std::vector<std::string> connected;           ///< identifiers, in the form of arrivals
    std::vector<DeviceEvent> events;
    std::map<std::string, std::string> deviceNames; ///< by identifier
    std::string crash;                              ///< the cause, if its report is there
    Moment crashTime = -1;
    std::vector<std::string> otherErrors;
    std::vector<std::string> logErrors;

    int run = 0;
    bool isDated = false;
    bool hasBegun = false;     ///< its beginning is in the trace, so what is missing did not happen
    bool isConfigured = false; ///< the three identifiers are known
    bool hasFailedConfiguration = false;
    bool hasLooked = false; ///< for the devices connected at the start
    bool isDeaf = false;    ///< nothing will notify it of arrivals
    bool hasDebugMessages = false;
};

/// "USB#Vid_12d1&Pid_1001" and "4817|4097" become "12d1:1001"; any other text is unchanged.
std::string shortIdentifier(const std::string& identifier);
/// Whether arrivals are reported in this form, in any letter case.
bool isIdentifier(const std::string& identifier);
bool isSameIdentifier(const std::string& a, const std::string& b);

/// The modem that the launcher waits for, if this trace message names it; nothing otherwise.
std::optional<std::string> expectedModemOf(std::string_view message);
/// The part of the identity card in this line of the log: "Product version" and its value; nothing if there
/// is none.
std::optional<std::pair<std::string, std::string>> cardEntryOf(std::string_view logLine);

/// Turns a journal's lines into stories.
class StoryTeller {
public:
    void add(const JournalLine& line);
    /// All runs, in their order; call it once, after the last line.
    std::vector<RunStory> takeStories();

private:
    RunStory& story(int run);
    void addLogLine(const JournalLine& line);
    void addMessage(RunStory& run, const JournalLine& line);
    void addArrival(RunStory& run, const JournalLine& line, const std::string& identifier);
    void addAttempt(RunStory& run, const std::string& path, Moment time, LaunchAttempt::Outcome outcome);
    void settle(RunStory& story, const JournalLine& line);
    LaunchAttempt* pending(RunStory& story) const;

    std::vector<RunStory> m_stories;
    bool m_isStarting = false; // the outcome of the last attempt is not known yet
    std::int32_t m_startingThread = 0;
    bool m_isInFilter = false; // the crash handler's message comes next
    bool m_isListing = false;  // the connected devices
};

} // namespace Zevo
