#pragma once

#include <cstdint>
#include <string_view>

namespace Zevo {

/// The kind of one line of a trace or a log.
enum class LineKind {
    call,        ///< a call begins
    exit,        ///< a call ends
    message,     ///< a message inside a call
    log,         ///< a line of the log
    stackHead,   ///< the heading of a stack in a crash report
    stackCall,   ///< an open call in it
    objectsHead, ///< the heading of the object counts in a crash report
    objectCount, ///< a class in it
    rule,        ///< the line of dashes that ends a part of a report
    text,        ///< continues the line above
    torn,        ///< has none of these forms
};

/// "call", "exit", "message", ...
const char* nameOf(LineKind kind);

/// One line, split into its parts. The texts are views into the parsed line.
struct TraceLine {
    LineKind kind = LineKind::torn;
    std::string_view whole;      ///< without its line feed
    std::int32_t timeOfDay = -1; ///< milliseconds since midnight; -1: the line has none
    bool hasThread = false;      ///< whether the next two are valid
    std::int32_t threadNumber = 0;
    std::string_view threadName;
    std::int32_t objects = -1; ///< the object column's count; -1: none
    std::string_view address;  ///< the object column's address, "0x..."; empty: none
    std::uint32_t depth = 0;   ///< open calls around it, including its own for an exit and a message
    char level = 0;            ///< of a message or a log line: 'D', 'E', 'W', '0' to '5'
    std::int32_t number = 0;   ///< a stack's position, a class's living objects
    std::string_view text;     ///< the call, the class, the message
};

/// Milliseconds since midnight of a line that begins with "[hh:mm:ss-mmm]"; -1 for any other.
std::int32_t timeOfDayOf(std::string_view line);

/// Parses the lines of one file in order: the kind of some depends on the lines before.
class LineParser {
public:
    TraceLine parse(std::string_view whole);

private:
    LineKind kindOfBareLine(std::string_view line) const;

    bool m_canGoOn = false; // the line before is a message, which may contain line feeds
    bool m_inReport = false;
};

} // namespace Zevo
