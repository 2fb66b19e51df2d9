#include "Story.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <strings.h>

namespace Zevo {
namespace {

constexpr Moment ONE_PLUGGING = 2000; // a device's notifications within this time are one arrival

/// The rest of the text behind this beginning; nothing if it does not begin so.
std::optional<std::string> behind(std::string_view text, std::string_view beginning) {
    if (text.substr(0, beginning.size()) != beginning)
        return std::nullopt;
    return std::string(text.substr(beginning.size()));
}

std::string between(const std::string& text, const std::string& from, const std::string& to) {
    const std::string::size_type begin = text.find(from);
    if (begin == std::string::npos)
        return "";
    const std::string::size_type start = begin + from.size();
    const std::string::size_type end = to.empty() ? text.size() : text.find(to, start);
    return text.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

std::string withoutDot(std::string text) {
    if (!text.empty() && text.back() == '.')
        text.pop_back();
    return text;
}

/// The last attempt ended like an earlier one of the same event: merges them.
void joinWithLike(std::vector<LaunchAttempt>& attempts) {
    const LaunchAttempt last = attempts.back();
    for (std::size_t i = 0; i + 1 < attempts.size(); ++i) {
        if (attempts[i].path == last.path && attempts[i].outcome == last.outcome &&
            attempts[i].status == last.status) {
            ++attempts[i].times;
            attempts.pop_back();
            return;
        }
    }
}

// No program can catch these signals: a healthy launcher reports that at each start.
bool isHarmless(std::string_view error) {
    return behind(error, "Cant install signal handler for ").has_value();
}

} // namespace

bool isIdentifier(const std::string& identifier) {
    std::string lower = identifier;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    constexpr const char* DIGITS = "0123456789abcdef";
    return lower.size() == 21 && lower.compare(0, 8, "usb#vid_") == 0 && lower.compare(12, 5, "&pid_") == 0 &&
           lower.substr(8, 4).find_first_not_of(DIGITS) == std::string::npos &&
           lower.substr(17).find_first_not_of(DIGITS) == std::string::npos;
}

bool isSameIdentifier(const std::string& a, const std::string& b) {
    return strcasecmp(a.c_str(), b.c_str()) == 0;
}

std::string shortIdentifier(const std::string& identifier) {
    if (isIdentifier(identifier))
        return identifier.substr(8, 4) + ":" + identifier.substr(17, 4);
    const std::string::size_type bar = identifier.find('|');
    const bool isPair = bar != std::string::npos && bar > 0 && bar + 1 < identifier.size() &&
                        identifier.size() <= 11 && identifier.find_first_not_of("0123456789") == bar &&
                        identifier.find_first_not_of("0123456789", bar + 1) == std::string::npos;
    const unsigned long vendor = isPair ? std::strtoul(identifier.c_str(), nullptr, 10) : 0x10000;
    const unsigned long product = isPair ? std::strtoul(identifier.c_str() + bar + 1, nullptr, 10) : 0x10000;
    if (vendor > 0xffff || product > 0xffff)
        return identifier;
    char text[16];
    std::snprintf(text, sizeof text, "%04lx:%04lx", vendor, product);
    return text;
}

std::optional<std::string> expectedModemOf(std::string_view message) {
    if (behind(message, "Configured : "))
        return between(std::string(message), "modem = ", ", cdrom = ");
    return behind(message, "expected modem hardware id : ");
}

std::optional<std::pair<std::string, std::string>> cardEntryOf(std::string_view logLine) {
    const std::optional<std::string> entry = behind(logLine, " * ");
    const std::string::size_type colon = entry ? entry->find(" : ") : std::string::npos;
    if (colon == std::string::npos)
        return std::nullopt;
    return std::pair(entry->substr(0, colon), entry->substr(colon + 3));
}

RunStory& StoryTeller::story(int run) {
    if (m_stories.empty() || m_stories.back().run != run) {
        m_stories.emplace_back();
        m_stories.back().run = run;
        m_isStarting = m_isInFilter = m_isListing = false;
    }
    return m_stories.back();
}

void StoryTeller::add(const JournalLine& line) {
    if (line.isCut || line.line.kind == LineKind::torn)
        return;
    RunStory& run = story(line.run);
    if (line.time >= 0) {
        run.begin = run.begin < 0 ? line.time : run.begin;
        run.end = line.time;
        run.isDated = line.isDated;
    }
    if (line.line.kind == LineKind::log) {
        addLogLine(line);
        return;
    }
    settle(run, line);
    if (line.line.kind == LineKind::message)
        addMessage(run, line);
    else if (line.line.kind == LineKind::call) {
        m_isInFilter = line.line.text == "SIGNAL_FILTER";
        if (line.line.text == "ZevoLauncher::Main")
            run.hasBegun = true;
    } else if (line.line.kind == LineKind::exit && line.line.text == "ZevoLauncher::isDeviceFound")
        m_isListing = false;
}

void StoryTeller::addLogLine(const JournalLine& line) {
    RunStory& run = story(line.run);
    if (line.line.level == 'E')
        run.logErrors.emplace_back(line.line.text);
    else if (const auto entry = cardEntryOf(line.line.text))
        run.card[entry->first] = entry->second;
}

LaunchAttempt* StoryTeller::pending(RunStory& story) const {
    return m_isStarting && !story.events.empty() && !story.events.back().attempts.empty()
               ? &story.events.back().attempts.back()
               : nullptr;
}

// The line after "Start executable" shows the outcome: a failure, or that the launcher went on.
void StoryTeller::settle(RunStory& story, const JournalLine& line) {
    LaunchAttempt* const attempt = pending(story);
    if (attempt == nullptr || !line.line.hasThread || line.line.threadNumber != m_startingThread)
        return;
    m_isStarting = false;
    attempt->end = line.time;
    if (line.line.text == "SIGNAL_FILTER" || line.line.kind == LineKind::stackCall)
        return;
    for (const char* const failure :
         {"FSPathMakeRef failed : status = ", "LSOpenApplication failed : status = "}) {
        if (const std::optional<std::string> status = behind(line.line.text, failure)) {
            attempt->outcome = LaunchAttempt::Outcome::failed;
            attempt->status = static_cast<int>(std::strtol(status->c_str(), nullptr, 10));
            joinWithLike(story.events.back().attempts);
            return;
        }
    }
    attempt->outcome = LaunchAttempt::Outcome::started;
}

void StoryTeller::addMessage(RunStory& run, const JournalLine& line) {
    const std::string text(line.line.text);
    run.hasDebugMessages = run.hasDebugMessages || line.line.level == 'D';
    if (m_isInFilter && line.line.level == 'E' && run.crash.empty()) {
        run.crash = text;
        run.crashTime = line.time;
        m_isInFilter = false;
    } else if (behind(text, "Configured : ")) {
        run.isConfigured = true;
        run.modem = *expectedModemOf(text);
        run.cdRom = between(text, ", cdrom = ", ", to be found = ");
        run.toFind = between(text, ", to be found = ", "");
    } else if (const auto wanted = behind(text, " hardware id to be found : ")) {
        m_isListing = run.hasLooked = true;
        run.connected.clear();
        if (!run.isConfigured)
            run.toFind = *wanted;
        run.events.emplace_back();
        run.events.back().kind = DeviceEvent::Kind::absentAtStart;
        run.events.back().time = line.time;
    } else if (const auto connected = behind(text, "Connected device : "); connected && m_isListing) {
        run.connected.push_back(*connected);
    } else if (text == "Device found in Modem list." && !run.events.empty()) {
        run.events.back().kind = DeviceEvent::Kind::presentAtStart;
        m_isListing = false;
    } else if (const auto arrived = behind(text, "Detected hardware id : ")) {
        addArrival(run, line, *arrived);
    } else if (const auto modem = expectedModemOf(text)) {
        if (!run.isConfigured)
            run.modem = *modem;
    } else if (const auto cdRom = behind(text, "expected cdrom hardware id : ")) {
        if (!run.isConfigured)
            run.cdRom = *cdRom;
        run.isConfigured = true;
    } else if (const auto removed = behind(text, "HID = ")) {
        run.events.emplace_back();
        run.events.back().kind = DeviceEvent::Kind::removal;
        run.events.back().identifier = withoutDot(*removed);
        run.events.back().time = line.time;
    } else if (behind(text, "Device = ")) {
        run.deviceNames[between(text, ", HID = ", ", path = ")] = between(text, "Device = ", ", HID = ");
    } else if (const auto running = behind(text, "Executable already running : ")) {
        addAttempt(run, *running, line.time, LaunchAttempt::Outcome::alreadyRunning);
    } else if (const auto started = behind(text, "Start executable : ")) {
        addAttempt(run, *started, line.time, LaunchAttempt::Outcome::unknown);
        m_isStarting = true;
        m_startingThread = line.line.threadNumber;
    } else if (text.find("No device that arrives or leaves from now on will be noticed.") !=
               std::string::npos) {
        run.isDeaf = true;
    } else if (const auto file = behind(text, "Could not load operator file : ")) {
        run.configurationFile = withoutDot(*file);
    } else if (text == "Error accessing ZevoLauncher parameters.") {
        run.hasFailedConfiguration = true;
    } else if (line.line.level == 'E' && !isHarmless(text) && !behind(text, "LSOpenApplication failed") &&
               !behind(text, "Configuration File Manager Exception : ")) {
        (run.isConfigured || run.hasFailedConfiguration ? run.otherErrors : run.configurationErrors)
            .push_back(text);
    }
}

void StoryTeller::addArrival(RunStory& run, const JournalLine& line, const std::string& identifier) {
    if (!run.events.empty()) {
        DeviceEvent& last = run.events.back();
        if (last.kind == DeviceEvent::Kind::arrival && last.identifier == identifier &&
            line.time - last.time < ONE_PLUGGING) {
            ++last.notifications;
            return;
        }
    }
    run.events.emplace_back();
    run.events.back().identifier = identifier;
    run.events.back().time = line.time;
}

void StoryTeller::addAttempt(RunStory& run, const std::string& path, Moment time,
                             LaunchAttempt::Outcome outcome) {
    if (run.events.empty())
        run.events.emplace_back(); // its beginning is lost: the trace begins in the middle of it
    std::vector<LaunchAttempt>& attempts = run.events.back().attempts;
    const bool isKnown = std::any_of(attempts.begin(), attempts.end(), [&](const LaunchAttempt& attempt) {
        return attempt.path == path && attempt.outcome != LaunchAttempt::Outcome::failed;
    });
    // The other parts of the device find running what the first part has started.
    if (outcome == LaunchAttempt::Outcome::alreadyRunning && isKnown)
        return;
    LaunchAttempt attempt;
    attempt.path = path;
    attempt.outcome = outcome;
    attempt.begin = time;
    attempts.push_back(attempt);
}

std::vector<RunStory> StoryTeller::takeStories() {
    return std::move(m_stories);
}

} // namespace Zevo
