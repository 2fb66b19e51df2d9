#include "Export.h"

#include "Painter.h"
#include "Story.h"

#include <algorithm>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace Zevo {
namespace {

/// A JSON text; invalid UTF-8 becomes the replacement character.
std::string jsonText(std::string_view text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

/// Microseconds since the first line, never decreasing on a thread, since viewers derive nesting from them.
/// Lines without times get one microsecond each, to keep their order.
class Timeline {
public:
    std::int64_t at(const TracedThread& thread, Moment time) {
        if (m_last.size() <= thread.index)
            m_last.resize(thread.index + 1, 0);
        std::int64_t& last = m_last[thread.index];
        last = std::max(last, atAnywhere(time));
        return last;
    }
    std::int64_t atAnywhere(Moment time) {
        if (time < 0)
            return ++m_steps;
        if (m_first < 0)
            m_first = time;
        return std::max<std::int64_t>((time - m_first) * 1000, 0);
    }

private:
    Moment m_first = -1;
    std::int64_t m_steps = 0;
    std::vector<std::int64_t> m_last;
};

class ChromeExporter : public Exporter, private CallObserver {
public:
    explicit ChromeExporter(Sink sink) : m_sink(std::move(sink)) {}

    void add(const JournalLine& line) override {
        m_tree.add(line);
        if (line.line.kind == LineKind::message && m_tree.thread() != nullptr) {
            const TracedThread& thread = *m_tree.thread();
            const Moment time = line.line.timeOfDay < 0 ? -1 : line.time;
            introduce(thread);
            put(fmt::format(
                R"({{"ph":"i","s":"t","name":{},"pid":{},"tid":{},"ts":{},"args":{{"level":"{}"}}}})",
                jsonText(line.line.text), thread.run, thread.index, m_timeline.at(thread, time),
                line.line.level));
        } else if (line.line.kind == LineKind::log) {
            put(fmt::format(
                R"({{"ph":"i","s":"p","name":{},"pid":{},"tid":"log","ts":{},"args":{{"level":"{}"}}}})",
                jsonText(line.line.text), line.run,
                m_timeline.atAnywhere(line.line.timeOfDay < 0 ? -1 : line.time), line.line.level));
        }
    }

    void finish() override {
        m_tree.finish();
        begin();
        m_sink("\n],\"displayTimeUnit\":\"ms\"}\n");
    }

private:
    void callBegins(const TracedThread& thread, const OpenCall& call) override {
        introduce(thread);
        put(fmt::format(R"({{"ph":"B","name":{},"pid":{},"tid":{},"ts":{}}})", nameOf(call), thread.run,
                        thread.index, m_timeline.at(thread, call.begin)));
    }

    void callEnds(const TracedThread& thread, const OpenCall& call, Moment end, CallEnd how) override {
        const char* const mark = how == CallEnd::open      ? R"(,"args":{"never_returned":true})"
                                 : how == CallEnd::implied ? R"(,"args":{"end_not_traced":true})"
                                                           : "";
        put(fmt::format(R"({{"ph":"E","name":{},"pid":{},"tid":{},"ts":{}{}}})", nameOf(call), thread.run,
                        thread.index, m_timeline.at(thread, end), mark));
    }

    void introduce(const TracedThread& thread) {
        if (thread.run != m_run) {
            m_run = thread.run;
            put(fmt::format(R"({{"ph":"M","name":"process_name","pid":{},"args":{{"name":"run {}"}}}})",
                            m_run, m_run));
        }
        if (thread.index < m_introduced)
            return;
        m_introduced = thread.index + 1;
        put(fmt::format(R"({{"ph":"M","name":"thread_name","pid":{},"tid":{},"args":{{"name":{}}}}})",
                        thread.run, thread.index, jsonText(thread.name)));
    }

    const std::string& nameOf(const OpenCall& call) {
        while (m_quotedNames.size() <= call.name)
            m_quotedNames.push_back(
                jsonText(m_tree.names()[static_cast<std::uint32_t>(m_quotedNames.size())]));
        return m_quotedNames[call.name];
    }

    // Only when there is something to export: an incomplete text is invalid.
    void begin() {
        if (m_isFirst)
            m_sink("{\"traceEvents\":[\n");
        m_isFirst = false;
    }

    void put(const std::string& event) {
        if (!m_isFirst)
            m_sink(",\n");
        begin();
        m_sink(event);
    }

    Sink m_sink;
    CallTree m_tree{*this};
    Timeline m_timeline;
    std::vector<std::string> m_quotedNames;
    bool m_isFirst = true;
    int m_run = -1;
    std::uint32_t m_introduced = 0;
};

class SpeedscopeExporter : public Exporter, private CallObserver {
public:
    SpeedscopeExporter(Sink sink, std::string title) : m_sink(std::move(sink)), m_title(std::move(title)) {}

    void add(const JournalLine& line) override { m_tree.add(line); }

    // The format has the frames before the profiles, but they are known only now: the profiles wait in files.
    void finish() override {
        m_tree.finish();
        m_sink(
            R"({"$schema":"https://www.speedscope.app/file-format-schema.json","exporter":"zevo-trace","name":)");
        m_sink(jsonText(m_title));
        m_sink(",\"shared\":{\"frames\":[");
        for (std::uint32_t name = 0; name < m_tree.names().size(); ++name)
            m_sink(fmt::format("{}{{\"name\":{}}}", name == 0 ? "" : ",\n", jsonText(m_tree.names()[name])));
        m_sink("]},\"profiles\":[");
        std::size_t count = 0, shown = 0;
        for (const auto& [index, profile] : m_profiles) {
            m_sink(count == 0 ? "\n" : ",\n");
            if (profile.thread == "MAIN")
                shown = count;
            ++count;
            std::string title = fmt::format("run {}, {}", profile.run, profile.thread);
            if (profile.open != 0)
                title += fmt::format(" ({} call{} never returned, innermost: {})", profile.open,
                                     profile.open == 1 ? "" : "s", profile.innermost);
            m_sink(fmt::format(
                R"({{"type":"evented","name":{},"unit":"microseconds","startValue":{},"endValue":{},"events":[)",
                jsonText(title), profile.begin, profile.end));
            copy(profile.events.get());
            m_sink("]}");
        }
        m_sink(fmt::format("],\"activeProfileIndex\":{}}}\n", shown));
    }

private:
    using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
    struct Profile {
        int run = 0;
        std::string thread;
        std::int64_t begin = 0;
        std::int64_t end = 0;
        std::uint64_t open = 0;
        std::string innermost;
        File events{nullptr, &std::fclose};
    };

    Profile& profileOf(const TracedThread& thread, std::int64_t time) {
        Profile& profile = m_profiles[thread.index];
        if (!profile.events) {
            profile.events.reset(std::tmpfile());
            if (!profile.events)
                throw std::runtime_error("cannot make a temporary file");
            profile.run = thread.run;
            profile.thread = thread.name;
            profile.begin = time;
        }
        profile.end = time;
        return profile;
    }

    void put(const Profile& profile, char type, const OpenCall& call, std::int64_t time) const {
        const std::string event =
            fmt::format(R"({}{{"type":"{}","frame":{},"at":{}}})",
                        std::ftell(profile.events.get()) == 0 ? "" : ",\n", type, call.name, time);
        if (std::fwrite(event.data(), 1, event.size(), profile.events.get()) != event.size())
            throw std::runtime_error("cannot write to a temporary file: is the disk full?");
    }

    void callBegins(const TracedThread& thread, const OpenCall& call) override {
        const std::int64_t time = m_timeline.at(thread, call.begin);
        put(profileOf(thread, time), 'O', call, time);
    }

    void callEnds(const TracedThread& thread, const OpenCall& call, Moment end, CallEnd how) override {
        const std::int64_t time = m_timeline.at(thread, end);
        Profile& profile = profileOf(thread, time);
        put(profile, 'C', call, time);
        if (how == CallEnd::open && profile.open++ == 0)
            profile.innermost = m_tree.names()[call.name];
    }

    void copy(std::FILE* file) const {
        std::vector<char> part(std::size_t{1} << 16U);
        if (std::fflush(file) != 0)
            throw std::runtime_error("cannot write to a temporary file: is the disk full?");
        std::rewind(file);
        for (std::size_t length = 0; (length = std::fread(part.data(), 1, part.size(), file)) != 0;)
            m_sink(std::string_view(part.data(), length));
    }

    Sink m_sink;
    std::string m_title;
    CallTree m_tree{*this};
    Timeline m_timeline;
    std::map<std::uint32_t, Profile> m_profiles;
};

class JsonLinesExporter : public Exporter, private CallObserver {
public:
    JsonLinesExporter(Sink sink, const std::string& machine)
        : m_sink(std::move(sink)), m_machine(jsonText(machine)) {}

    void add(const JournalLine& line) override {
        m_returned = -1;
        m_tree.add(line);
        noteRun(line);
        const TraceLine& parsed = line.line;
        const bool isOfCall = parsed.kind == LineKind::call || parsed.kind == LineKind::exit;
        const std::vector<OpenCall>& calls = m_tree.openCalls();
        const std::string_view call = isOfCall ? parsed.text
                                      : parsed.kind == LineKind::message && !calls.empty()
                                          ? m_tree.names()[calls.back().name]
                                          : std::string_view();
        const bool hasTime = parsed.timeOfDay >= 0;
        const bool isNumbered = parsed.kind == LineKind::stackCall || parsed.kind == LineKind::objectCount;
        m_sink(m_run);
        m_sink(fmt::format(R"("line":{},"time":{},"elapsed":{},"thread":{},"depth":{},"call":{},"kind":"{}",)"
                           R"("duration":{},"level":{},"number":{},"text":{}}})"
                           "\n",
                           ++m_lines, hasTime ? momentText(line) : NOTHING,
                           hasTime ? std::to_string(line.time - m_begin) : NOTHING,
                           parsed.hasThread ? jsonText(parsed.threadName) : NOTHING, callDepth(parsed),
                           call.empty() ? NOTHING : jsonText(call),
                           line.isCut ? "cut" : Zevo::nameOf(parsed.kind),
                           m_returned < 0 ? NOTHING : std::to_string(m_returned),
                           parsed.level == 0 ? NOTHING : std::string{'"', parsed.level, '"'},
                           isNumbered ? std::to_string(parsed.number) : NOTHING,
                           isOfCall ? NOTHING : jsonText(parsed.text.empty() ? parsed.whole : parsed.text)));
    }

    void finish() override { m_tree.finish(); }

private:
    // The depth of the call itself: its exit and its messages are indented one unit deeper.
    static std::uint32_t callDepth(const TraceLine& line) {
        const bool isDeeper = line.kind == LineKind::exit || line.kind == LineKind::message;
        return isDeeper && line.depth > 0 ? line.depth - 1 : line.depth;
    }

    static std::string momentText(const JournalLine& line) {
        return '"' + (line.isDated ? dateTextOf(line.time) + 'T' : "") + timeTextOf(line.time) + '"';
    }

    void callEnds(const TracedThread&, const OpenCall& call, Moment end, CallEnd how) override {
        if (how == CallEnd::returned && call.begin >= 0 && end >= call.begin)
            m_returned = end - call.begin;
    }

    // Facts about a run are in each of its lines, so that a query on one line needs no other. A run shows its
    // version and its modem only a few lines after its first.
    void noteRun(const JournalLine& line) {
        const bool isFirst = m_run.empty() || line.run != m_number;
        if (isFirst) {
            m_number = line.run;
            m_begin = -1;
            m_version = m_modem = m_started = NOTHING;
        }
        bool isNews = isFirst;
        if (m_begin < 0 && line.line.timeOfDay >= 0) {
            m_begin = line.time;
            m_started = momentText(line);
            isNews = true;
        }
        if (line.line.kind == LineKind::log) {
            if (const auto entry = cardEntryOf(line.line.text); entry && entry->first == "Product version") {
                m_version = jsonText(entry->second);
                isNews = true;
            }
        } else if (line.line.kind == LineKind::message) {
            if (const auto modem = expectedModemOf(line.line.text)) {
                m_modem = jsonText(*modem);
                isNews = true;
            }
        }
        if (isNews)
            m_run = fmt::format(R"({{"machine":{},"run":{},"started":{},"version":{},"modem":{},)", m_machine,
                                m_number, m_started, m_version, m_modem);
    }

    const std::string NOTHING = "null";

    Sink m_sink;
    std::string m_machine;
    CallTree m_tree{*this};
    std::uint64_t m_lines = 0;
    Moment m_returned = -1; // duration in milliseconds of the call that the line ends
    int m_number = 0;       // of the run
    Moment m_begin = -1;    // of the run
    std::string m_started, m_version, m_modem;
    std::string m_run; // common beginning of its lines
};

} // namespace

std::unique_ptr<Exporter> makeChromeExporter(Sink sink) {
    return std::make_unique<ChromeExporter>(std::move(sink));
}

std::unique_ptr<Exporter> makeSpeedscopeExporter(Sink sink, std::string title) {
    return std::make_unique<SpeedscopeExporter>(std::move(sink), std::move(title));
}

std::unique_ptr<Exporter> makeJsonLinesExporter(Sink sink, const std::string& machine) {
    return std::make_unique<JsonLinesExporter>(std::move(sink), machine);
}

} // namespace Zevo
