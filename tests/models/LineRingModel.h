#pragma once

#include <array>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace model {

/// A model of a ring of text files and its queue of lines, after the rules of trace and log files. The files
/// are a map.
class LineRing {
public:
    explicit LineRing(bool truncatesFirst) : m_truncates(truncatesFirst) {}

    // Settings, and state that the models of tracer and logger change directly.
    int maximumFiles = 10;
    int maximumLines = 100000;
    std::string folder; // with its separator
    std::string base;
    std::string current;
    int index = 0;
    int lineCount = 0;

    /// The contents by path, and the paths that cannot be opened.
    std::map<std::string, std::string> files;
    std::set<std::string> blocked;

    /// Whether this is the name for which nothing is written.
    static bool isNowhere(const std::string& name) { return name == "msvc"; }
    std::string fileName(int number) const { return base + "_" + std::to_string(number) + ".txt"; }
    /// Wraps the index, then forms the current name from the base name and the index.
    void nameCurrent();
    void truncateNext(bool truncates = true) { m_truncates = truncates; }
    void put(const std::string& line);
    /// False if the current file cannot be opened; then nothing is written.
    bool drain();
    bool isEmpty() const { return m_queue.empty(); }

private:
    bool m_truncates;
    std::deque<std::string> m_queue;
};

/// The text of a message as a line shows it: cut to the limit, with the mark of a cut.
std::string messageText(const std::string& text);

/// A statement of a configuration file: its words, the first in lower case.
using Statement = std::vector<std::string>;
/// The statements of a text without errors. A last line without line feed is ignored.
std::vector<Statement> statementsOf(const std::string& text);

/// What the models of tracer and logger share. There is no flush thread; times are written as "[time]".
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

    /// Executes a statement that both languages share; ignores any other.
    void execute(const Statement& statement);
    virtual void setFileName(const std::string& name) = 0;
    /// Sets the ring's base name and current name. False for the name for which nothing is written.
    bool nameRing(const std::string& name);

    bool isEnabled() const { return m_isEnabled; }
    bool isInLevelMask(unsigned level) const { return (m_levelMask & level) != 0; }
    std::string time() const { return m_printsTime ? "[time]" : ""; }
    /// The tag of a level; empty if it is none.
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
