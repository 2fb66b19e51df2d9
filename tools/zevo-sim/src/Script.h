#pragma once

#include "Finding.h"
#include "ModemDatabase.h"
#include "ModemFile.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Zevo {

/// One statement of a script.
struct Step {
    enum class Kind {
        plug,
        switchTo,
        unplug,
        unplugAll,
        storm,
        wait,
        say,
        start,
        stop,
        expectStarted,
        expectRunning,
        expectNotRunning,
        expectNothingStarted,
        expectEnd,
        expectText,
    };

    Kind kind = Kind::wait;
    Place place;
    std::string text;                               ///< as written, with the values of variables
    Modem modem;                                    ///< plug, storm
    std::optional<UsbDevice> next;                  ///< switchTo; none: the other personality
    std::string port;                               ///< empty: not named
    std::vector<std::string> ids;                   ///< unplug: ids of the device
    std::optional<std::chrono::milliseconds> after; ///< plug: when it switches by itself
    std::chrono::milliseconds time{0};              ///< wait; maximum time of an expectation
    unsigned count = 0;                             ///< storm
    std::string bundle;                             ///< an application's path
    std::optional<int> status;                      ///< expectEnd
    std::string words;                              ///< say, expectText
    std::string file;                               ///< expectText

    bool isExpectation() const { return kind >= Kind::expectStarted; }
    bool needsProgram() const { return kind == Kind::start || kind == Kind::stop || kind == Kind::expectEnd; }
};

struct Script {
    std::string name;
    std::vector<Step> steps;
    Findings findings; ///< what is wrong with it; if anything is, it must not be played
};

/// Reads a script of events and expectations; docs/zevo-sim.md describes the language. Reports all mistakes,
/// not only the first.
/// @param variables  set from outside; they override the script's own
Script readScript(const std::string& path, const std::map<std::string, std::string>& variables,
                  const std::vector<KnownModem>& database);

/// "2s", "500 ms", "1.5s", "1 min". Nothing if it is not a time, or longer than a day.
std::optional<std::chrono::milliseconds> durationIn(const std::string& text);

/// As people write it: "500 ms", "1.5 s".
std::string shownDuration(std::chrono::milliseconds duration);

} // namespace Zevo
