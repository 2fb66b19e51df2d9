#pragma once

#include <deque>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace model {

/// A ring of text files and the lines that wait for it, as the rules of trace and log files have it. The files are a map.
class LineRing {
public:
    explicit LineRing(bool truncatesFirst) : m_truncates(truncatesFirst) {}

    // Settings, and what the rules of the tracer and the logger change themselves.
    int maximumFiles = 10;
    int maximumLines = 100000;
    std::string folder; // with its separator
    std::string base;
    std::string current;
    int index = 0;
    int lineCount = 0;

    /// By path. A path that is blocked cannot be opened.
    std::map<std::string, std::string> files;
    std::set<std::string> blocked;

    /// Nothing is written for this one.
    static bool isNowhere(const std::string& name) { return name == "msvc"; }
    std::string fileName(int number) const { return base + "_" + std::to_string(number) + ".txt"; }
    /// Of the base name and the index, which first wraps.
    void nameCurrent();
    void truncateNext(bool truncates = true) { m_truncates = truncates; }
    void put(const std::string& line);
    /// False when the current file could not be opened; nothing was written then.
    bool drain();
    bool isEmpty() const { return m_queue.empty(); }

private:
    bool m_truncates;
    std::deque<std::string> m_queue;
};

/// The text of a message as it stands in a line: its limits and its mark.
std::string messageText(const std::string& text);

/// A statement of a configuration file: its words, in lower case the first.
using Statement = std::vector<std::string>;
/// The statements of a text without errors. A last line without line feed is none.
std::vector<Statement> statementsOf(const std::string& text);
/// The bit of a level word, for instance of "TRACE_ERROR" behind the prefix "trace_"; in any letter case.
unsigned levelBit(const std::string& prefix, const std::string& word);
/// A number of a statement: the largest one where it is beyond the range.
int numberOf(const std::string& digits);

} // namespace model
