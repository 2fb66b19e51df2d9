#pragma once

#include "Ring.h"
#include "TraceLine.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Zevo {

/// A line with its position among all others.
struct JournalLine {
    TraceLine line;
    Moment time = -1;     ///< of the line, or of the last one before it that has one; -1: none has
    bool isDated = false; ///< whether the day of `time` is known
    int run =
        0; ///< counts the program's starts in the traces (without traces: in the logs), from 1; 0: before
    bool isFirstOfRun = false;
    bool isTrace = true;
    bool isCut = false; ///< the file ends in the middle of it
    const std::string* file = nullptr;
    std::uint64_t number = 0; ///< in its file, from 1
};

/// Where the reading of a ring has ended.
struct RingEnd {
    std::string baseName;
    bool isTrace = false;
    std::string path;           ///< the newest file
    std::uint64_t position = 0; ///< behind its last complete line
};

/// "path:number", the form in which other tools refer to a line.
std::string placeOf(const JournalLine& line);

/// The lines of all rings, merged by time, one at a time: a journal of any length takes the same memory.
/// Lines of one ring keep their order; of two lines with the same time, the trace's comes first.
class Journal {
public:
    /// Lines of rings without times come first, the log's before the trace's; `notes` mentions that.
    Journal(std::vector<Ring> rings, std::vector<std::string>& notes);
    ~Journal();

    /// False after the last line. The texts are valid until the next call. Throws as LineReader does.
    bool next(JournalLine& line);

    /// After the last line: where to go on following the rings.
    std::vector<RingEnd> ends() const;

    std::uint64_t size() const { return m_size; }                 ///< bytes in all files
    std::uint64_t position() const;                               ///< bytes read so far
    std::uint64_t damagedLines() const { return m_damagedLines; } ///< torn or truncated, so far
    /// The first few of them, as "path:number: what".
    const std::vector<std::string>& damages() const { return m_damages; }

private:
    class Stream;

    void noteDamage(const JournalLine& line);

    std::vector<std::unique_ptr<Stream>> m_streams;
    Stream* m_current = nullptr;
    int m_run = 0;
    bool m_hasTrace = false;
    std::uint64_t m_size = 0;
    std::uint64_t m_damagedLines = 0;
    std::vector<std::string> m_damages;
};

} // namespace Zevo
