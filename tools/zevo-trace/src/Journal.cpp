#include "Journal.h"

#include "LineReader.h"

#include <algorithm>
#include <optional>

namespace Zevo {

std::string placeOf(const JournalLine& line) {
    return (*line.file == "-" ? "standard input" : *line.file) + ":" + std::to_string(line.number);
}

/// One ring, with its next line.
class Journal::Stream {
public:
    explicit Stream(Ring ring) : m_ring(std::move(ring)) { advance(); }

    bool hasLine() const { return m_hasLine; }
    const JournalLine& line() const { return m_line; }
    std::uint64_t position() const { return m_finished + (m_reader ? m_reader->position() : 0); }

    RingEnd end() const {
        return {m_ring.baseName, m_ring.isTrace, m_ring.files.empty() ? "" : m_ring.files.back().path,
                m_wholeLines};
    }

    void advance() {
        std::string_view text;
        while (m_hasLine = false, m_file <= m_ring.files.size()) {
            if (!m_reader && !openNext())
                return;
            const bool isWhole = m_reader->next(text);
            if (isWhole)
                m_wholeLines = m_reader->handedOver();
            if (isWhole || m_reader->takeRest(text)) {
                take(text, !isWhole);
                return;
            }
            m_finished += m_reader->position();
            m_reader.reset();
        }
    }

private:
    bool openNext() {
        if (m_file == m_ring.files.size())
            return false;
        const RingFile& file = m_ring.files[m_file++];
        m_reader.emplace(file.path, file.unpacked.get());
        m_wholeLines = 0;
        m_parser = LineParser();
        m_line.file = &file.path;
        m_line.number = 0;
        m_day = m_ring.hasDates || m_file == 1 ? file.firstDay : std::max(m_day, file.firstDay);
        m_lastTime = -1;
        m_beginsRun = file.beginsRun;
        if (file.beginsRun)
            m_mainThread.reset();
        return true;
    }

    void take(std::string_view text, bool isCut) {
        m_hasLine = true;
        m_line.line = m_parser.parse(text);
        m_line.isCut = isCut;
        // A continuation or a torn line belongs to the line above.
        if (m_line.line.kind == LineKind::log || m_line.line.hasThread)
            m_line.isTrace = m_line.line.hasThread;
        else if (m_line.number == 0)
            m_line.isTrace = m_ring.isTrace;
        m_line.isDated = m_ring.hasDates;
        ++m_line.number;
        if (const std::int32_t time = m_line.line.timeOfDay; time >= 0) {
            if (m_lastTime >= 0 && time < m_lastTime - LARGEST_STEP_BACK)
                m_day += DAY;
            m_lastTime = time;
            m_line.time = m_day + time;
        }
        m_line.isFirstOfRun = m_beginsRun || isOtherMain();
        m_beginsRun = false;
    }

    /// Files that were concatenated: only the new number of the thread MAIN shows a restart.
    bool isOtherMain() {
        const TraceLine& line = m_line.line;
        if (!line.hasThread || line.kind == LineKind::stackCall || line.threadName != "MAIN")
            return false;
        const bool isOther = m_mainThread && *m_mainThread != line.threadNumber;
        m_mainThread = line.threadNumber;
        return isOther;
    }

    Ring m_ring;
    std::size_t m_file = 0; // number of the ring's files that were opened
    std::optional<LineReader> m_reader;
    std::uint64_t m_finished = 0;
    std::uint64_t m_wholeLines = 0; // bytes of the complete lines of the current file
    LineParser m_parser;
    JournalLine m_line;
    bool m_hasLine = false;
    bool m_beginsRun = false;
    Moment m_day = 0;
    std::int32_t m_lastTime = -1;
    std::optional<std::int32_t> m_mainThread;
};

Journal::Journal(std::vector<Ring> rings, std::vector<std::string>& notes) {
    std::stable_sort(rings.begin(), rings.end(),
                     [](const Ring& a, const Ring& b) { return a.isTrace > b.isTrace; });
    bool hasTimeless = false;
    for (Ring& ring : rings) {
        m_hasTrace = m_hasTrace || (ring.isTrace && ring.baseName != "-");
        for (const RingFile& file : ring.files) {
            m_size += file.size;
            hasTimeless = hasTimeless || (file.facts.lastTime < 0 && file.path != "-");
        }
        m_streams.push_back(std::make_unique<Stream>(std::move(ring)));
    }
    if (hasTimeless && m_streams.size() > 1)
        notes.emplace_back(
            "not all lines have times (TRACE_CLOCK, LOG_CLOCK), so trace and log cannot be merged on time");
}

Journal::~Journal() = default;

bool Journal::next(JournalLine& line) {
    if (m_current != nullptr)
        m_current->advance();
    m_current = nullptr;
    for (const auto& stream : m_streams)
        if (stream->hasLine() && (m_current == nullptr || stream->line().time < m_current->line().time))
            m_current = stream.get();
    if (m_current == nullptr)
        return false;
    line = m_current->line();
    m_hasTrace = m_hasTrace || line.isTrace;
    if (!line.isTrace && !m_hasTrace)
        line.isFirstOfRun = line.line.text.find(" with ID card :") != std::string_view::npos;
    else
        line.isFirstOfRun = line.isFirstOfRun && line.isTrace;
    if (line.isFirstOfRun || (m_run == 0 && line.isTrace))
        ++m_run;
    line.run = m_run;
    if (line.isCut || line.line.kind == LineKind::torn)
        noteDamage(line);
    return true;
}

std::vector<RingEnd> Journal::ends() const {
    std::vector<RingEnd> result;
    for (const auto& stream : m_streams)
        result.push_back(stream->end());
    return result;
}

void Journal::noteDamage(const JournalLine& line) {
    constexpr std::size_t MOST = 5;
    ++m_damagedLines;
    if (m_damages.size() < MOST)
        m_damages.push_back(placeOf(line) + (line.isCut
                                                 ? ": the line is cut: the file ends in it"
                                                 : ": the line is torn, or belongs to something else"));
}

std::uint64_t Journal::position() const {
    std::uint64_t result = 0;
    for (const auto& stream : m_streams)
        result += stream->position();
    return result;
}

} // namespace Zevo
