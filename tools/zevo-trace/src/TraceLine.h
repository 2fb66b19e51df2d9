#pragma once

#include <cstdint>
#include <string_view>

namespace Zevo {

/// What one line of a trace or a log is.
enum class LineKind {
    call,        ///< a call begins
    exit,        ///< a call ends
    message,     ///< a message inside a call
    log,         ///< a line of the log
    stackHead,   ///< the head of a stack in a crash report
    stackCall,   ///< an open call in it
    objectsHead, ///< the head of the living objects in a crash report
    objectCount, ///< a class in it
    rule,        ///< the line of dashes that closes a part of a report
    text,        ///< goes on with the line above
    torn,        ///< does not have the form of any of these
};

/// "call", "exit", "message", ...
const char* nameOf(LineKind kind);

/// One line, taken apart. The texts are parts of the line that was parsed.
struct TraceLine {
    LineKind kind = LineKind::torn;
    std::string_view whole;      ///< without its line feed
    std::int32_t timeOfDay = -1; ///< milliseconds since midnight; -1: the line has none
    bool hasThread = false;      ///< whether the next two are there
    std::int32_t threadNumber = 0;
    std::string_view threadName;
    std::int32_t objects = -1; ///< the object column's count; -1: none
    std::string_view address;  ///< the object column's address, "0x..."; empty: none
    std::uint32_t depth = 0;   ///< calls that are open around it, its own included for an exit and a message
    char level = 0;            ///< of a message or a log line: 'D', 'E', 'W', '0' to '5'
    std::int32_t number = 0;   ///< a stack's position, a class's living objects
    std::string_view text;     ///< the call, the class, the message
};

/// Milliseconds since midnight of a line that begins with "[hh:mm:ss-mmm]"; -1 for any other.
std::int32_t timeOfDayOf(std::string_view line);

/// Takes the lines of one file apart, one after the other: what some are is told by those before.
class LineParser {
public:
    TraceLine parse(std::string_view whole);

private:
    LineKind kindOfBareLine(std::string_view line) const;

    bool m_canGoOn = false; // the line before is a message, which may hold line feeds of its own
    bool m_inReport = false;
};

} // namespace Zevo
