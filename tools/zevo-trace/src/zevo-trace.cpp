#include "BundledFiles.h"
#include "Crash.h"
#include "Difference.h"
#include "Export.h"
#include "Filter.h"
#include "Follower.h"
#include "Journal.h"
#include "LogFolders.h"
#include "NewFile.h"
#include "Page.h"
#include "Painter.h"
#include "ParquetFile.h"
#include "ProgressBar.h"
#include "Sink.h"
#include "StatusWords.h"
#include "StoryText.h"
#include "Summary.h"
#include "Tool.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace Zevo;

namespace {

/// The common options of the commands, from the command line.
struct Options {
    std::vector<std::string> paths;
    bool json = false;
    bool all = false;
    bool follow = false;
    int run = 0;
    std::vector<std::string> threads, calls, hidden, within, texts;
    std::string levels, from, to;
    std::string good, bad, thread = "MAIN";
    bool chrome = false, speedscope = false, jsonLines = false;
    std::string machine, page, parquet;
    std::size_t lines = 20;
};

void toOutput(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

void printJson(const nlohmann::ordered_json& json) {
    toOutput(json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
}

/// The journal of a command, with its progress bar; at its end reports what was wrong with the files.
class Source {
public:
    explicit Source(const std::vector<std::string>& paths)
        : m_rings(findRings(paths, m_notes)), m_journal(m_rings, m_notes),
          m_bar("reading", m_journal.size()) {}
    ~Source() {
        for (const std::string& note : m_notes)
            fmt::print(stderr, "zevo-trace: note: {}\n", note);
        for (const std::string& damage : m_journal.damages())
            fmt::print(stderr, "zevo-trace: note: {}\n", damage);
        if (m_journal.damagedLines() > m_journal.damages().size())
            fmt::print(stderr, "zevo-trace: note: {} more lines are torn or cut\n",
                       m_journal.damagedLines() - m_journal.damages().size());
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    bool isEmpty() const { return m_rings.empty(); }
    std::vector<RingEnd> ends() const { return m_journal.ends(); }

    bool next(JournalLine& line) {
        constexpr unsigned LINES = 4096;
        if (++m_lines % LINES == 0)
            m_bar.at(m_journal.position());
        return m_journal.next(line);
    }

private:
    std::vector<std::string> m_notes;
    std::vector<Ring> m_rings;
    Journal m_journal;
    ProgressBar m_bar;
    unsigned m_lines = 0;
};

std::vector<std::string> pathsOf(const Options& options) {
    if (!options.paths.empty())
        return options.paths;
    const std::vector<std::string> folders = logFolders();
    if (folders.empty())
        throw std::runtime_error(
            "this user's launcher has no log folder (expected: " + logFolderPattern() +
            "). Either it never ran, or it ended before its first line: it says nothing where "
            "its card, ID.txt, cannot be read or its log folder cannot be made");
    if (folders.size() > 1)
        fmt::print(stderr, "zevo-trace: note: of {} log folders, the one that was written to last: {}\n",
                   folders.size(), folders.front());
    return {folders.front()};
}

[[noreturn]] void complainOfNothing(const std::vector<std::string>& paths) {
    throw std::runtime_error(
        "no trace and no log in " + fmt::format("{}", fmt::join(paths, ", ")) +
        ". The launcher did not run with this folder; or its configuration switches both off, or hides every "
        "thread or call; or a syntax error in the trace's configuration ended it at its start (zevo-check "
        "tells)");
}

[[noreturn]] void complainOfNoRun(const std::vector<std::string>& paths, int wanted, int last) {
    if (last == 0)
        throw std::runtime_error(
            "no trace in " + fmt::format("{}", fmt::join(paths, ", ")) +
            ", only a log, which does not tell: the trace's configuration switches it off, or lets no thread "
            "(TRACE_THE_THREAD) or no call (TRACE_THE_CALL) through");
    throw UsageError(fmt::format("there is no run {}; the last one is {}", wanted, last));
}

FilterRules rulesOf(const Options& options) {
    FilterRules rules;
    rules.threads = options.threads;
    rules.calls = options.calls;
    for (const std::string& pattern : options.hidden)
        rules.calls.push_back("-" + pattern);
    rules.within = options.within;
    rules.texts = options.texts;
    rules.levels = levelsOf(options.levels);
    if (!options.from.empty())
        rules.from = TimeBound(options.from);
    if (!options.to.empty())
        rules.to = TimeBound(options.to);
    rules.run = options.run;
    return rules;
}

[[noreturn]] void follow(const std::vector<RingEnd>& ends, Filter& filter, const Colours& colours, int run) {
    constexpr std::chrono::milliseconds GLANCE(200);
    struct Followed {
        explicit Followed(const RingEnd& end)
            : follower(end.baseName, end.path, end.position), isTrace(end.isTrace) {}
        Follower follower;
        LineParser parser;
        bool isTrace;
    };
    std::vector<std::unique_ptr<Followed>> all;
    for (const RingEnd& end : ends)
        all.push_back(std::make_unique<Followed>(end));
    for (;;) {
        for (const auto& one : all) {
            one->follower.poll([&](std::string_view text) {
                JournalLine line;
                line.line = one->parser.parse(text);
                line.isTrace = one->isTrace;
                line.run = run;
                line.time = line.line.timeOfDay;
                if (filter.wants(line))
                    toOutput(painted(line.line, colours) + "\n");
            });
        }
        std::fflush(stdout);
        std::this_thread::sleep_for(GLANCE);
    }
}

ExitStatus show(const Options& options) {
    const std::vector<std::string> paths = pathsOf(options);
    if (options.follow && std::any_of(paths.begin(), paths.end(), isBundle))
        throw UsageError("a bundle cannot be followed: nothing is written to it any more");
    Filter filter(rulesOf(options));
    const Colours colours(takesColours(stdout));
    Source source(paths);
    if (source.isEmpty())
        complainOfNothing(paths);
    int run = -1;
    std::string heading;
    for (JournalLine line; source.next(line);) {
        if (line.run != run) {
            run = line.run;
            heading = run == 0 ? std::string("==== before the first run of the trace")
                               : fmt::format("==== run {}{}", run,
                                             line.isDated ? ", " + dateTextOf(line.time) : "");
        }
        if (!filter.wants(line))
            continue;
        // One run alone needs no heading.
        if (!heading.empty() && run > 1)
            toOutput(colours.strong(heading) + "\n");
        heading.clear();
        toOutput(painted(line.line, colours));
        toOutput("\n");
    }
    if (options.follow && std::find(paths.begin(), paths.end(), "-") != paths.end())
        throw UsageError("standard input cannot be followed");
    if (options.follow)
        follow(source.ends(), filter, colours, run);
    return FINE;
}

ExitStatus why(const Options& options) {
    const std::vector<std::string> paths = pathsOf(options);
    std::vector<RunStory> stories;
    {
        Source source(paths);
        if (source.isEmpty())
            complainOfNothing(paths);
        StoryTeller teller;
        for (JournalLine line; source.next(line);)
            teller.add(line);
        stories = teller.takeStories();
    }
    const auto isUnwanted = [&](const RunStory& story) {
        return story.run == 0 || (options.run != 0 ? story.run != options.run
                                                   : !options.all && story.run != stories.back().run);
    };
    const int last = stories.empty() ? 0 : stories.back().run;
    stories.erase(std::remove_if(stories.begin(), stories.end(), isUnwanted), stories.end());
    if (stories.empty())
        complainOfNoRun(paths, options.run, last);
    if (options.json) {
        nlohmann::ordered_json runs = nlohmann::ordered_json::array();
        for (const RunStory& story : stories)
            runs.push_back(jsonOf(story));
        printJson({{"runs", runs}});
    } else {
        const Colours colours(takesColours(stdout));
        for (const RunStory& story : stories) {
            tell(story, colours, toOutput);
            if (&story != &stories.back())
                toOutput("\n");
        }
    }
    return answerOf(stories.back()).isGood ? FINE : PROBLEMS_FOUND;
}

/// Every line of the wanted runs, in order.
void readAll(const Options& options, const std::function<void(const JournalLine&)>& take) {
    const std::vector<std::string> paths = pathsOf(options);
    Source source(paths);
    if (source.isEmpty())
        complainOfNothing(paths);
    bool isFound = options.run == 0;
    for (JournalLine line; source.next(line);) {
        if (options.run != 0 && line.run != options.run)
            continue;
        isFound = true;
        take(line);
    }
    if (!isFound)
        throw UsageError(fmt::format("there is no run {}", options.run));
}

ExitStatus summarize(const Options& options) {
    constexpr std::size_t MOST = 30;
    Summary summary;
    readAll(options, [&](const JournalLine& line) { summary.add(line); });
    summary.finish();
    if (options.json)
        printJson(summary.json());
    else
        summary.tell(options.all ? 0 : MOST, Colours(takesColours(stdout)), toOutput);
    return FINE;
}

ExitStatus showCrash(const Options& options) {
    CrashReader reader(options.lines);
    readAll(options, [&](const JournalLine& line) { reader.add(line); });
    const std::vector<CrashReport>& reports = reader.reports();
    const std::size_t first = options.all || reports.empty() ? 0 : reports.size() - 1;
    if (options.json) {
        nlohmann::ordered_json json = nlohmann::ordered_json::array();
        for (std::size_t i = first; i < reports.size(); ++i)
            json.push_back(jsonOf(reports[i]));
        printJson({{"reports", json}});
    } else if (reports.empty()) {
        toOutput("No crash report is in the trace.\n");
    } else {
        for (std::size_t i = first; i < reports.size(); ++i)
            tell(reports[i], Colours(takesColours(stdout)), toOutput);
    }
    const auto isCrash = [](const CrashReport& report) { return !isRequestToEnd(report.cause); };
    return std::any_of(reports.begin() + static_cast<std::ptrdiff_t>(first), reports.end(), isCrash)
               ? PROBLEMS_FOUND
               : FINE;
}

/// The last run of a place, once for its totals and once for its steps.
class ComparedRun {
public:
    ComparedRun(const std::string& path, std::string thread) : m_thread(std::move(thread)) {
        Source source({path});
        if (source.isEmpty())
            complainOfNothing({path});
        for (JournalLine line; source.next(line);) {
            if (line.isFirstOfRun)
                m_summary = std::make_unique<Summary>();
            m_run = line.run;
            m_summary->add(line);
        }
        m_summary->finish();
        m_source = std::make_unique<Source>(std::vector<std::string>{path});
    }

    const Summary& summary() const { return *m_summary; }

    std::optional<Step> next() {
        for (JournalLine line; m_source->next(line);) {
            const bool isStep = line.line.kind == LineKind::call || line.line.kind == LineKind::message;
            if (!isStep || line.isCut || line.run != m_run || line.line.threadName != m_thread)
                continue;
            Step step;
            step.depth = line.line.depth;
            step.isMessage = line.line.kind == LineKind::message;
            step.level = line.line.level;
            step.text = line.line.text;
            step.time = line.line.timeOfDay < 0 ? "" : timeTextOf(line.time);
            step.place = placeOf(line);
            m_hasStep = true;
            return step;
        }
        if (!m_hasStep)
            throw UsageError("the last run has no thread " + m_thread);
        return std::nullopt;
    }

private:
    std::string m_thread;
    std::unique_ptr<Summary> m_summary = std::make_unique<Summary>();
    int m_run = 0;
    std::unique_ptr<Source> m_source;
    bool m_hasStep = false;
};

ExitStatus diff(const Options& options) {
    constexpr std::size_t MOST = 10;
    if (options.good == "-" || options.bad == "-")
        throw UsageError("diff reads its files twice, which standard input does not allow");
    ComparedRun good(options.good, options.thread), bad(options.bad, options.thread);
    const std::optional<Parting> parting =
        findParting([&] { return good.next(); }, [&] { return bad.next(); });
    std::vector<Slower> slower = findSlower(good.summary(), bad.summary());
    if (options.json) {
        nlohmann::ordered_json calls = nlohmann::ordered_json::array();
        for (const Slower& call : slower)
            calls.push_back({{"call", call.call},
                             {"good_own_ms", call.goodMean},
                             {"bad_own_ms", call.badMean},
                             {"good_count", call.goodCount},
                             {"bad_count", call.badCount}});
        printJson({{"parting", jsonOf(parting)}, {"slower", calls}});
    } else {
        const Colours colours(takesColours(stdout));
        tell(parting, colours, toOutput);
        if (!slower.empty())
            toOutput("\nSlower in the bad one (mean own time of a call, in ms):\n");
        slower.resize(std::min(slower.size(), MOST));
        for (const Slower& call : slower)
            toOutput(
                fmt::format("  {:>9.1f} instead of {:>9.1f}  {}\n", call.badMean, call.goodMean, call.call));
    }
    return parting ? PROBLEMS_FOUND : FINE;
}

std::string machineOf(const Options& options) {
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    return options.machine.empty() ? host : options.machine;
}

ExitStatus exportAs(const Options& options) {
    // Many small writes to a pipe would take most of the time.
    constexpr std::size_t PART = std::size_t{1} << 16U;
    std::unique_ptr<ParquetFile> file;
    std::string part;
    std::unique_ptr<Exporter> exporter;
    if (!options.parquet.empty()) {
        file = std::make_unique<ParquetFile>(options.parquet);
        const auto toFile = [&](std::string_view text) {
            part += text;
            if (part.size() < PART)
                return;
            file->write(part);
            part.clear();
        };
        exporter = makeJsonLinesExporter(toFile, machineOf(options));
    } else if (options.jsonLines) {
        exporter = makeJsonLinesExporter(toOutput, machineOf(options));
    } else if (options.chrome) {
        exporter = makeChromeExporter(toOutput);
    } else {
        exporter = makeSpeedscopeExporter(toOutput, "ZevoLauncher");
    }
    readAll(options, [&](const JournalLine& line) { exporter->add(line); });
    exporter->finish();
    if (file) {
        file->write(part);
        file->finish();
    }
    return FINE;
}

ExitStatus view(const Options& options) {
    const Page page(Page::viewerBesideProgram());
    NewFile file(options.page);
    const Sink sink = [&](std::string_view text) { file.write(text); };
    page.write(sink, [&](const Sink& profile) {
        const std::unique_ptr<Exporter> exporter = makeSpeedscopeExporter(profile, "ZevoLauncher");
        bool hasCall = false;
        readAll(options, [&](const JournalLine& line) {
            hasCall = hasCall || line.line.kind == LineKind::call;
            exporter->add(line);
        });
        if (!hasCall)
            throw std::runtime_error("there is no call to show: what was read is a log alone, or the "
                                     "filters of the trace hide all calls");
        exporter->finish();
    });
    file.keep();
    return FINE;
}

void addPaths(CLI::App& command, Options& options) {
    command.add_option("PATH", options.paths,
                       "Folders and files of traces and logs, bundles of zevo-check, or - for standard "
                       "input; else this user's "
                       "log folder");
}

void addRun(CLI::App& command, Options& options, const char* what) {
    command.add_option("--run", options.run, what)->check(CLI::PositiveNumber)->type_name("NUMBER");
}

} // namespace

int main(int argumentCount, char** arguments) {
    CLI::App app("What happened? Reads the traces and logs of the launcher.", "zevo-trace");
    app.require_subcommand(1);
    app.footer("Exit status: 0 all is fine, 1 problems found, 2 wrong usage.\n"
               "Begin with: zevo-trace why FOLDER. Without a folder: this user's log folder.\n"
               "zevo-trace SUBCOMMAND --help tells the options of each.");
    Options options;

    CLI::App* const showCommand =
        app.add_subcommand("show", "Show trace and log, merged on time, or some lines of them");
    addPaths(*showCommand, options);
    showCommand
        ->add_option("--thread", options.threads,
                     "Threads of these names; * at the begin or the end of a name")
        ->type_name("PATTERN")
        ->allow_extra_args(false);
    showCommand
        ->add_option("--call", options.calls,
                     "Calls of these names and their messages, as TRACE_THE_CALL has them")
        ->type_name("PATTERN")
        ->allow_extra_args(false);
    showCommand->add_option("--hide", options.hidden, "Not the calls of these names")
        ->type_name("PATTERN")
        ->allow_extra_args(false);
    showCommand->add_option("--within", options.within, "Only what happens inside such calls")
        ->type_name("PATTERN")
        ->allow_extra_args(false);
    showCommand
        ->add_option("--level", options.levels,
                     "Messages and log lines of these levels: debug, error, warning, "
                     "level_0 to level_5, with commas between them")
        ->type_name("LEVELS");
    showCommand->add_option("--text", options.texts, "Lines that hold this, in any letter case")
        ->type_name("TEXT")
        ->allow_extra_args(false);
    showCommand->add_option("--from", options.from, "From this time on: [yyyy-mm-dd ]hh:mm[:ss[-mmm]]")
        ->type_name("TIME");
    showCommand->add_option("--to", options.to, "Up to this time")->type_name("TIME");
    addRun(*showCommand, options, "One run, counted from 1; else all");
    showCommand->add_flag("-f,--follow", options.follow,
                          "Go on with what is written from now on, until Ctrl-C");

    CLI::App* const whyCommand =
        app.add_subcommand("why", "Tell why the application was started, or was not");
    addPaths(*whyCommand, options);
    addRun(*whyCommand, options, "This run, counted from 1; else the last one");
    whyCommand->add_flag("--all", options.all, "All runs");
    whyCommand->add_flag("--json", options.json, "As JSON, for programs");

    CLI::App* const summaryCommand =
        app.add_subcommand("summary", "Add up how often calls were made and how long they took");
    addPaths(*summaryCommand, options);
    addRun(*summaryCommand, options, "One run, counted from 1; else all together");
    summaryCommand->add_flag("--all", options.all, "All calls, not only the thirty with the most own time");
    summaryCommand->add_flag("--json", options.json, "As JSON, for programs");

    CLI::App* const diffCommand =
        app.add_subcommand("diff", "Tell where the last runs of two machines part, and what is slower");
    diffCommand->add_option("GOOD", options.good, "Folder or file of the machine that works")->required();
    diffCommand->add_option("BAD", options.bad, "Folder or file of the other one")->required();
    diffCommand->add_option("--thread", options.thread, "The thread to compare")
        ->type_name("NAME")
        ->capture_default_str();
    diffCommand->add_flag("--json", options.json, "As JSON, for programs");

    CLI::App* const crashCommand =
        app.add_subcommand("crash", "Show the report of a crash: cause, stacks, living objects");
    addPaths(*crashCommand, options);
    addRun(*crashCommand, options, "Of this run, counted from 1; else the last report");
    crashCommand->add_flag("--all", options.all, "All reports");
    crashCommand->add_option("--lines", options.lines, "So many of the thread's last lines")
        ->type_name("NUMBER")
        ->capture_default_str();
    crashCommand->add_flag("--json", options.json, "As JSON, for programs");

    CLI::App* const exportCommand = app.add_subcommand(
        "export", "Write trace and log for other programs, to standard output or as Parquet");
    addPaths(*exportCommand, options);
    CLI::Option_group* const form = exportCommand->add_option_group("form", "Exactly one of these");
    form->add_flag("--chrome", options.chrome,
                   "Trace events, for the tracing pages of browsers and for Perfetto");
    form->add_flag("--speedscope", options.speedscope, "For speedscope");
    form->add_flag("--json-lines", options.jsonLines, "One JSON object a line, for data bases");
    form->add_option("--parquet", options.parquet, "The same as a new Parquet file, which DuckDB writes")
        ->type_name("FILE");
    form->require_option(1);
    addRun(*exportCommand, options, "One run, counted from 1; else all");
    exportCommand
        ->add_option("--machine", options.machine,
                     "The machine's name in JSON lines and Parquet; else this machine's")
        ->type_name("NAME");

    CLI::App* const viewCommand =
        app.add_subcommand("view", "Write a page that shows the calls over time, for a browser");
    addPaths(*viewCommand, options);
    viewCommand->add_option("--out", options.page, "The page to write, a new .html")
        ->type_name("FILE")
        ->required();
    addRun(*viewCommand, options, "One run, counted from 1; else all");

    return runTool(app, argumentCount, arguments, [&]() -> ExitStatus {
        if (*showCommand)
            return show(options);
        if (*summaryCommand)
            return summarize(options);
        if (*diffCommand)
            return diff(options);
        if (*crashCommand)
            return showCrash(options);
        if (*exportCommand)
            return exportAs(options);
        if (*viewCommand)
            return view(options);
        return why(options);
    });
}
