#include "StoryText.h"

#include "Painter.h"
#include "StatusWords.h"

#include <algorithm>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace Zevo {
namespace {

using Kind = DeviceEvent::Kind;
using Outcome = LaunchAttempt::Outcome;
using nlohmann::ordered_json;

constexpr const char* MARGIN = "                ";

std::string nameIn(const RunStory& story, const std::string& identifier) {
    const auto found =
        std::find_if(story.deviceNames.begin(), story.deviceNames.end(), [&](const auto& entry) {
            return shortIdentifier(entry.first) == shortIdentifier(identifier);
        });
    const std::string text = shortIdentifier(identifier);
    return found == story.deviceNames.end() || found->second.empty() ? text
                                                                     : text + " (" + found->second + ")";
}

std::string listOf(const RunStory& story, const std::vector<std::string>& identifiers) {
    std::string result;
    for (const std::string& identifier : identifiers)
        result += (result.empty() ? "" : ", ") + nameIn(story, identifier);
    return result;
}

std::string orNone(const std::string& identifier) {
    return identifier.empty() ? "(none)" : shortIdentifier(identifier);
}

std::string failureText(int status) {
    const StatusWords words = wordsOfStatus(status);
    if (*words.name == '\0')
        return fmt::format("status {}, which this program does not know", status);
    return fmt::format("{} (status {}, {})", words.meaning, status, words.name);
}

bool isExpected(const RunStory& story, const DeviceEvent& event) {
    return isSameIdentifier(event.identifier, story.modem) || isSameIdentifier(event.identifier, story.cdRom);
}

/// How an arrived identifier relates to the configured ones.
std::string relationOf(const RunStory& story, const std::string& identifier) {
    if (!story.isConfigured)
        return story.hasFailedConfiguration
                   ? "nothing is waited for, because the configuration could not be read"
                   : "the trace does not tell what is waited for";
    if (isSameIdentifier(identifier, story.modem))
        return "the modem that is waited for";
    if (isSameIdentifier(identifier, story.cdRom))
        return "the CD-ROM personality that is waited for";
    const std::string text = shortIdentifier(identifier);
    for (const std::string& expected : {story.modem, story.cdRom})
        if (text.size() == 9 && shortIdentifier(expected).substr(0, 5) == text.substr(0, 5))
            return fmt::format(
                "not waited for, but of the same maker as {}: it may be the same modem in another mode",
                shortIdentifier(expected));
    return "not one that is waited for";
}

std::string attemptText(const LaunchAttempt& attempt, const Colours& colours) {
    const std::string path = colours.strong(attempt.path);
    switch (attempt.outcome) {
    case Outcome::alreadyRunning:
        return path + " was running already, so it was not started again.";
    case Outcome::started:
        return path + " was not running; it was " + colours.good("started") +
               (attempt.end > attempt.begin && attempt.begin >= 0
                    ? " (" + durationText(attempt.end - attempt.begin) + ")."
                    : ".");
    case Outcome::failed: {
        const StatusWords words = wordsOfStatus(attempt.status);
        return path + " was not running; " + colours.error("its start failed") +
               (attempt.times > 1 ? fmt::format(" {} times", attempt.times) : "") + ": " +
               failureText(attempt.status) + "." +
               (*words.name != '\0' && *words.remedy != '\0' ? fmt::format(" Remedy: {}.", words.remedy)
                                                             : "");
    }
    case Outcome::unknown:
        break;
    }
    return path + " was not running; the trace ends before it tells what came of its start.";
}

std::string eventText(const RunStory& story, const DeviceEvent& event) {
    const bool several = story.connected.size() > 1;
    const std::string wasConnected =
        story.connected.empty()
            ? "was no USB device"
            : fmt::format("{} {} USB device{}: {}", several ? "were" : "was", story.connected.size(),
                          several ? "s" : "", listOf(story, story.connected));
    switch (event.kind) {
    case Kind::absentAtStart:
        return story.toFind.empty()
                   ? fmt::format("At the start there {}; the launcher looks for none of them.", wasConnected)
                   : fmt::format("At the start {} was not connected. There {}.",
                                 shortIdentifier(story.toFind), wasConnected);
    case Kind::presentAtStart:
        return fmt::format("At the start {} was connected already.", nameIn(story, story.toFind));
    case Kind::removal:
        return fmt::format("{} was unplugged. What was started stays.", nameIn(story, event.identifier));
    case Kind::arrival:
        break;
    }
    if (event.identifier.empty())
        return "What made the launcher look is not in the trace.";
    return fmt::format("{} arrived: {}.", nameIn(story, event.identifier),
                       relationOf(story, event.identifier));
}

/// The sentences about identifiers that can never match.
std::vector<std::string> mistakesIn(const RunStory& story) {
    std::vector<std::string> result;
    if (!story.isConfigured)
        return result;
    const struct {
        const char* key;
        const std::string& value;
    } entries[] = {{"MacHardwareIdToDetect", story.modem},
                   {"MacCdRomHIdToDetect", story.cdRom},
                   {"MacHardwareIdToFind", story.toFind}};
    for (const auto& entry : entries) {
        if (entry.value.empty())
            result.push_back(fmt::format("{} was not found in Launcher.cfg, or is empty.", entry.key));
        else if (!isIdentifier(entry.value) && entry.value.find('|') == std::string::npos)
            result.push_back(
                fmt::format("{} is \"{}\", and devices are reported in the form USB#Vid_12d1&Pid_1001: "
                            "nothing can match it.",
                            entry.key, entry.value));
    }
    if (isIdentifier(story.toFind) &&
        (story.toFind.find("Vid_") == std::string::npos || story.toFind.find("Pid_") == std::string::npos))
        result.push_back(
            "MacHardwareIdToFind has to be written with \"Vid_\" and \"Pid_\" exactly so: as it is, a modem "
            "that is there at the start is not found.");
    return result;
}

std::string atTime(Moment time) {

    return time < 0 ? "" : " at " + timeTextOf(time);
}

/// Why nothing was started, if no attempt was made.
std::string reasonForNone(const RunStory& story) {
    if (story.hasFailedConfiguration)
        return "its configuration could not be read: " + (story.configurationErrors.empty()
                                                              ? story.configurationFile
                                                              : story.configurationErrors.front());
    std::vector<std::string> arrived;
    for (const DeviceEvent& event : story.events)
        if (event.kind == Kind::arrival && !event.identifier.empty() &&
            std::find(arrived.begin(), arrived.end(), event.identifier) == arrived.end())
            arrived.push_back(event.identifier);
    if (!story.hasDebugMessages)
        return "the trace does not tell. It holds no debug messages: TRACE_SET_MSG_FILTER needs TRACE_DEBUG "
               "and TRACE_ERROR, "
               "and TRACE_THE_CALL must not hide ZevoLauncher::*";
    if (arrived.empty() && story.isDeaf)
        return "nothing on this machine tells of devices that arrive, and the modem was not there at the "
               "start";
    if (arrived.empty() && !story.hasLooked)
        return "it ended, or the trace does, before it looked for devices";
    if (arrived.empty())
        return "no USB device has arrived, and the modem was not there at the start. If it is plugged in, "
               "look whether "
               "the system sees it (lsusb)";
    return fmt::format("none of the devices that arrived is one that is waited for ({} and {}): {}",
                       orNone(story.modem), orNone(story.cdRom), listOf(story, arrived));
}

Answer answerToCrash(const RunStory& story) {
    if (story.toFind.empty() && story.isConfigured && story.crash == "SIGNAL_ABORT" && !story.hasLooked)
        return {
            false,
            "The launcher ended at its start, because Launcher.cfg has no MacHardwareIdToFind. Add the key."};
    const std::string words = wordsOfCause(story.crash);
    return {false,
            fmt::format("The launcher crashed{}: {}{}. `zevo-trace crash` shows where.",
                        atTime(story.crashTime), story.crash, words.empty() ? "" : " (" + words + ")")};
}

Answer answerToAttempts(const RunStory& story) {
    const DeviceEvent* decisive = nullptr;
    const LaunchAttempt* failure = nullptr;
    std::string mainApplication;
    for (const DeviceEvent& event : story.events) {
        if (event.attempts.empty())
            continue;
        mainApplication = mainApplication.empty() ? event.attempts.front().path : mainApplication;
        // The latest trigger counts: earlier failures may have been fixed.
        failure = nullptr;
        for (const LaunchAttempt& attempt : event.attempts) {
            if (attempt.outcome == Outcome::failed && failure == nullptr)
                failure = &attempt;
            if (attempt.path == mainApplication && attempt.outcome == Outcome::started)
                decisive = &event;
            if (attempt.path == mainApplication && attempt.outcome == Outcome::alreadyRunning &&
                decisive == nullptr)
                decisive = &event;
        }
    }
    if (failure != nullptr)
        return {false, fmt::format("{} was not started: {}.", failure->path, failureText(failure->status))};
    if (decisive == nullptr)
        return {false, "The trace ends before it tells what came of the start."};
    const LaunchAttempt& attempt =
        *std::find_if(decisive->attempts.begin(), decisive->attempts.end(),
                      [&](const LaunchAttempt& a) { return a.path == mainApplication; });
    if (attempt.outcome == Outcome::alreadyRunning)
        return {true, fmt::format("{} was running already{}, so there was nothing to start.", mainApplication,
                                  atTime(decisive->time))};
    return {true, fmt::format("{} was started{}.", mainApplication, atTime(attempt.begin))};
}

const char* nameOf(Kind kind) {
    switch (kind) {
    case Kind::absentAtStart:
        return "absent at start";
    case Kind::presentAtStart:
        return "present at start";
    case Kind::arrival:
        return "arrival";
    case Kind::removal:
        break;
    }
    return "removal";
}

const char* nameOf(Outcome outcome) {
    switch (outcome) {
    case Outcome::started:
        return "started";
    case Outcome::alreadyRunning:
        return "already running";
    case Outcome::failed:
        return "failed";
    case Outcome::unknown:
        break;
    }
    return "unknown";
}

ordered_json timeJson(Moment time, bool isDated) {
    return time < 0 ? ordered_json(nullptr) : ordered_json(textOf(time, isDated));
}

ordered_json attemptJson(const LaunchAttempt& attempt, bool isDated) {
    ordered_json result = {{"path", attempt.path},
                           {"outcome", nameOf(attempt.outcome)},
                           {"time", timeJson(attempt.begin, isDated)}};
    if (attempt.begin >= 0 && attempt.end >= attempt.begin)
        result["milliseconds"] = attempt.end - attempt.begin;
    if (attempt.outcome == Outcome::failed) {
        result["status"] = attempt.status;
        result["meaning"] = wordsOfStatus(attempt.status).meaning;
    }
    return result;
}

} // namespace

Answer answerOf(const RunStory& story) {
    const bool hasAttempts = std::any_of(story.events.begin(), story.events.end(),
                                         [](const DeviceEvent& event) { return !event.attempts.empty(); });
    if (!story.crash.empty() && !isRequestToEnd(story.crash))
        return answerToCrash(story);
    if (hasAttempts)
        return answerToAttempts(story);
    return {false, "Nothing was started: " + reasonForNone(story) + "."};
}

void tell(const RunStory& story, const Colours& colours, const Sink& sink) {
    const auto line = [&](Moment time, const std::string& text) {
        sink(fmt::format("  {:<12}  {}\n", time < 0 ? "" : timeTextOf(time), text));
    };
    std::string title = fmt::format("Run {}", story.run);
    if (story.isDated)
        title += ", " + dateTextOf(story.begin);
    if (story.begin >= 0)
        title += fmt::format(", {} to {}", timeTextOf(story.begin), timeTextOf(story.end));
    const auto card = [&](const char* key) {
        const auto found = story.card.find(key);
        return found == story.card.end() ? std::string() : found->second;
    };
    if (!card("Product Name").empty())
        title += fmt::format(": {} {}", card("Product Name"), card("Product version"));
    sink(colours.strong(title) + "\n");
    if (story.isConfigured)
        sink(fmt::format(
            "  It waits for the modem {} and its CD-ROM personality {}, and at its start looks for {}.\n",
            orNone(story.modem), orNone(story.cdRom), orNone(story.toFind)));
    for (const std::string& mistake : mistakesIn(story))
        sink("  " + colours.warning(mistake) + "\n");
    if (!story.hasBegun)
        sink("  " +
             colours.warning("Its begin is not in the trace: the ring has come around, or filters hide it.") +
             "\n");
    if (story.isDeaf)
        sink("  " +
             colours.warning(
                 "Nothing on this machine tells of devices that arrive: only what is there at the start "
                 "is found.") +
             "\n");
    sink("\n");
    for (const DeviceEvent& event : story.events) {
        line(event.time, eventText(story, event));
        for (const LaunchAttempt& attempt : event.attempts)
            sink(MARGIN + attemptText(attempt, colours) + "\n");
        const bool isTrigger =
            event.kind == Kind::presentAtStart || (event.kind == Kind::arrival && isExpected(story, event));
        if (isTrigger && event.attempts.empty())
            sink(std::string(MARGIN) +
                 "Nothing tells what the launcher did then: the filters hide it, or the trace ends.\n");
    }
    for (const std::string& error : story.otherErrors)
        sink(fmt::format("  {:<12}  {}\n", "", colours.error("Error: ") + error));
    for (const std::string& error : story.logErrors)
        sink(fmt::format("  {:<12}  {}\n", "", colours.error("In the log: ") + error));
    if (!story.crash.empty()) {
        const std::string words = wordsOfCause(story.crash);
        line(story.crashTime,
             fmt::format("The launcher ended{}: {}{}.",
                         isRequestToEnd(story.crash) ? "" : " with a crash report",
                         words.empty() ? story.crash : words, words.empty() ? "" : " (" + story.crash + ")"));
    } else {
        line(story.end, "Here the trace ends, without a report: the launcher still runs, or was killed.");
    }
    const Answer answer = answerOf(story);
    sink("\n  " + (answer.isGood ? colours.good(answer.text) : colours.error(answer.text)) + "\n");
}

nlohmann::ordered_json jsonOf(const RunStory& story) {
    const Answer answer = answerOf(story);
    ordered_json events = ordered_json::array();
    for (const DeviceEvent& event : story.events) {
        ordered_json attempts = ordered_json::array();
        for (const LaunchAttempt& attempt : event.attempts)
            attempts.push_back(attemptJson(attempt, story.isDated));
        events.push_back({{"kind", nameOf(event.kind)},
                          {"time", timeJson(event.time, story.isDated)},
                          {"device", shortIdentifier(event.identifier)},
                          {"expected", event.kind == Kind::arrival && isExpected(story, event)},
                          {"notifications", event.notifications},
                          {"attempts", attempts}});
    }
    ordered_json connected = ordered_json::array();
    for (const std::string& identifier : story.connected)
        connected.push_back(shortIdentifier(identifier));
    return {{"run", story.run},
            {"begin", timeJson(story.begin, story.isDated)},
            {"end", timeJson(story.end, story.isDated)},
            {"card", story.card},
            {"modem", story.modem},
            {"cdrom", story.cdRom},
            {"find", story.toFind},
            {"mistakes", mistakesIn(story)},
            {"connected_at_start", connected},
            {"hears_of_devices", !story.isDeaf},
            {"events", events},
            {"errors", story.otherErrors},
            {"log_errors", story.logErrors},
            {"cause_of_end", story.crash},
            {"good", answer.isGood},
            {"answer", answer.text}};
}

} // namespace Zevo
