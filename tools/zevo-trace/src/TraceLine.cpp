#include "TraceLine.h"

#include <algorithm>
#include <charconv>

namespace Zevo {
namespace {

constexpr std::string_view STACK_HEAD = "-------------- CALLSTACK --------------";
constexpr std::string_view OBJECTS_HEAD = "-------------- OBJECT(S) COUNT --------------";
constexpr std::string_view CLASS_MARK = "Class = ";
constexpr std::string_view COUNT_MARK = ", count = ";
constexpr std::string_view EXIT_MARK = "<- ";
constexpr std::string_view THREAD_MARK = "[th_";
constexpr std::string_view NO_ADDRESS = "          ";

bool startsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string_view withoutBlanksBehind(std::string_view text) {
    const std::size_t last = text.find_last_not_of(' ');
    return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

/// The number that a complete text consists of.
bool readNumber(std::string_view text, std::int32_t& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

/// Removes "[content]" from the front.
bool takeBracket(std::string_view& rest, std::string_view& content) {
    if (rest.empty() || rest[0] != '[')
        return false;
    const std::size_t end = rest.find(']');
    if (end == std::string_view::npos)
        return false;
    content = rest.substr(1, end - 1);
    rest.remove_prefix(end + 1);
    return true;
}

bool takeThread(std::string_view& rest, TraceLine& line) {
    std::string_view tail = rest, number, name;
    if (!takeBracket(tail, number) || !takeBracket(tail, name) ||
        !readNumber(withoutBlanksBehind(number.substr(3)), line.threadNumber))
        return false;
    line.threadName = withoutBlanksBehind(name);
    line.hasThread = true;
    rest = tail;
    return true;
}

/// The two columns of TRACE_OBJECT_COUNT, if they are there.
void takeObject(std::string_view& rest, TraceLine& line) {
    std::string_view tail = rest, count, address;
    if (!takeBracket(tail, count) || !takeBracket(tail, address) || count.size() < 5)
        return;
    const bool hasAddress = startsWith(address, "0x");
    if (!hasAddress && address != NO_ADDRESS)
        return;
    count = withoutBlanksBehind(count);
    if (!count.empty() && !readNumber(count, line.objects))
        return;
    if (hasAddress)
        line.address = withoutBlanksBehind(address);
    rest = tail;
}

bool takeStackCall(std::string_view rest, TraceLine& line) {
    constexpr std::string_view INDENTATION = "    ";
    if (!startsWith(rest, "    ["))
        return false;
    rest.remove_prefix(INDENTATION.size());
    std::string_view number;
    if (!takeBracket(rest, number) || !readNumber(number, line.number) || !startsWith(rest, " "))
        return false;
    line.text = rest.substr(1);
    line.kind = LineKind::stackCall;
    return true;
}

char levelOf(std::string_view rest) {
    if (rest.size() < 7 || !startsWith(rest, ">> [") || rest[5] != ']' || rest[6] != ' ')
        return 0;
    constexpr std::string_view LEVELS = "DEW012345";
    return LEVELS.find(rest[4]) == std::string_view::npos ? '\0' : rest[4];
}

void takeBody(std::string_view rest, TraceLine& line) {
    if (takeStackCall(rest, line))
        return;
    while (startsWith(rest, "| ") || startsWith(rest, "  ")) {
        ++line.depth;
        rest.remove_prefix(2);
    }
    line.level = levelOf(rest);
    if (line.level != 0) {
        line.kind = LineKind::message;
        rest.remove_prefix(7);
    } else if (startsWith(rest, EXIT_MARK) && line.depth > 0) {
        line.kind = LineKind::exit;
        rest.remove_prefix(EXIT_MARK.size());
    } else if (!rest.empty() && rest[0] != '[' && rest[0] != ' ' && rest[0] != '?') {
        line.kind = LineKind::call;
    }
    line.text = rest;
}

/// The level of a log line's tag, which is removed from the front.
char takeLogLevel(std::string_view& rest) {
    constexpr std::size_t TAG_SIZE = 10;
    constexpr struct {
        std::string_view tag;
        char level;
    } TAGS[] = {{"[LEVEL_0] ", '0'}, {"[ERROR  ] ", 'E'}, {"[WARNING] ", 'W'},
                {"[DEBUG  ] ", 'D'}, {"[LEVEL_1] ", '1'}, {"[LEVEL_2] ", '2'},
                {"[LEVEL_3] ", '3'}, {"[LEVEL_4] ", '4'}, {"[LEVEL_5] ", '5'}};
    for (const auto& [tag, level] : TAGS) {
        if (startsWith(rest, tag)) {
            rest.remove_prefix(TAG_SIZE);
            return level;
        }
    }
    return 0;
}

bool takeObjectCount(std::string_view text, TraceLine& line) {
    const std::size_t mark = text.rfind(COUNT_MARK);
    if (!startsWith(text, CLASS_MARK) || mark == std::string_view::npos ||
        !readNumber(text.substr(mark + COUNT_MARK.size()), line.number))
        return false;
    line.text = withoutBlanksBehind(text.substr(CLASS_MARK.size(), mark - CLASS_MARK.size()));
    line.kind = LineKind::objectCount;
    return true;
}

bool isAll(std::string_view text, char character) {
    return !text.empty() && text.find_first_not_of(character) == std::string_view::npos;
}

} // namespace

const char* nameOf(LineKind kind) {
    switch (kind) {
    case LineKind::call:
        return "call";
    case LineKind::exit:
        return "exit";
    case LineKind::message:
        return "message";
    case LineKind::log:
        return "log";
    case LineKind::stackHead:
    case LineKind::stackCall:
        return "stack";
    case LineKind::objectsHead:
    case LineKind::objectCount:
        return "objects";
    case LineKind::rule:
        return "rule";
    case LineKind::text:
        return "text";
    case LineKind::torn:
        break;
    }
    return "torn";
}

std::int32_t timeOfDayOf(std::string_view line) {
    constexpr std::string_view FORM = "[00:00:00-000]";
    if (line.size() < FORM.size())
        return -1;
    for (std::size_t i = 0; i < FORM.size(); ++i)
        if (FORM[i] == '0' ? !isDigit(line[i]) : line[i] != FORM[i])
            return -1;
    const auto two = [&](std::size_t at) { return (line[at] - '0') * 10 + (line[at + 1] - '0'); };
    const int hours = two(1), minutes = two(4), seconds = two(7);
    // A leap second may be written as 60.
    if (hours > 23 || minutes > 59 || seconds > 60)
        return -1;
    return ((hours * 60 + minutes) * 60 + seconds) * 1000 + two(10) * 10 + (line[12] - '0');
}

TraceLine LineParser::parse(std::string_view whole) {
    TraceLine line;
    line.whole = whole;
    std::string_view rest = whole;
    line.timeOfDay = timeOfDayOf(rest);
    if (line.timeOfDay >= 0)
        rest.remove_prefix(14);
    if (startsWith(rest, THREAD_MARK)) {
        if (takeThread(rest, line)) {
            takeObject(rest, line);
            takeBody(rest, line);
        }
        m_inReport = line.kind == LineKind::stackCall;
    } else if ((line.level = takeLogLevel(rest)) != 0) {
        line.kind = LineKind::log;
        line.text = rest;
    } else if (line.timeOfDay < 0 && !takeObjectCount(rest, line)) {
        line.kind = kindOfBareLine(rest);
        line.text = rest;
    }
    if (line.kind == LineKind::stackHead || line.kind == LineKind::objectsHead)
        m_inReport = true;
    m_canGoOn = line.kind == LineKind::message || line.kind == LineKind::log ||
                (line.kind == LineKind::text && m_canGoOn);
    return line;
}

LineKind LineParser::kindOfBareLine(std::string_view line) const {
    if (line == STACK_HEAD)
        return LineKind::stackHead;
    if (line == OBJECTS_HEAD)
        return LineKind::objectsHead;
    if (line.size() >= STACK_HEAD.size() && isAll(line, '-') && m_inReport)
        return LineKind::rule;
    if (line.empty()) // the headings of a report are preceded by an empty line
        return LineKind::text;
    const bool isDamaged = isAll(line, '?') || line.find(THREAD_MARK) != std::string_view::npos ||
                           line.find('\0') != std::string_view::npos;
    return m_canGoOn && !isDamaged ? LineKind::text : LineKind::torn;
}

} // namespace Zevo
