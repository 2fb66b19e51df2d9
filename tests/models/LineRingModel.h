#pragma once

#include <array>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <utility>
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

/// What the rules of the tracer and of the logger have in common, without a flush thread. Times are written as "[time]".
class LineOutput {
public:
    LineRing ring;

    void setDirectWrite(bool directWrite) { m_directWrite = directWrite; }
    void printString(const std::string& line);
    void writeOnFile() { ring.drain(); }
    void finish();

protected:
    using Tags = std::array<const char*, 9>;

    /// @param prefix  of the keywords and of the level words: "trace_" or "log_"
    /// @param tags    of the levels, in the order of their bits
    LineOutput(std::string prefix, const Tags& tags, bool truncatesFirst)
        : ring(truncatesFirst), m_prefix(std::move(prefix)), m_tags(tags) {}
    virtual ~LineOutput() = default;

    /// Does what a statement asks for that both languages have; any other leaves all as it is.
    void execute(const Statement& statement);
    virtual void setFileName(const std::string& name) = 0;
    /// Base name and current name of an output. False for one that has no files.
    bool nameRing(const std::string& name);

    bool isEnabled() const { return m_isEnabled; }
    bool isInLevelMask(unsigned level) const { return (m_levelMask & level) != 0; }
    std::string time() const { return m_printsTime ? "[time]" : ""; }
    /// Empty for what is no level.
    std::string tag(unsigned level) const;

private:
    const std::string m_prefix;
    const Tags m_tags;
    bool m_isEnabled = false;
    bool m_printsTime = false;
    bool m_directWrite = false;
    unsigned m_levelMask = 0;
};

} // namespace model
