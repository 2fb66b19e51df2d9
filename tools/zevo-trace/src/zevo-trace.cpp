#include "Filter.h"
#include "Follower.h"
#include "Journal.h"
#include "LogFolders.h"
#include "Painter.h"
#include "ProgressBar.h"
#include "Sink.h"
#include "StoryText.h"
#include "Tool.h"

#include <chrono>
#include <cstdio>
#include <fmt/format.h>
#include <sys/stat.h>
#include <thread>

using namespace Zevo;

namespace {

/** What the commands have in common, as the command line gives it. */
struct Options {
    std::vector<std::string> paths;
    bool json = false;
    bool all = false;
    bool follow = false;
    int run = 0;
    std::vector<std::string> threads, calls, hidden, within, texts;
    std::string levels, from, to;
};

void toOutput(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

/** The journal of a command, with its progress bar; says at its end what was wrong with the files. */
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
    const std::vector<Ring>& rings() const { return m_rings; }

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
        ": the launcher did not run with this folder, or its configuration switches both off");
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

[[noreturn]] void follow(const std::vector<Ring>& rings, Filter& filter, const Colours& colours, int run) {
    constexpr std::chrono::milliseconds GLANCE(200);
    struct Followed {
        Followed(const std::string& baseName, bool trace) : follower(baseName), isTrace(trace) {}
        Follower follower;
        LineParser parser;
        bool isTrace;
    };
    std::vector<std::unique_ptr<Followed>> all;
    for (const Ring& ring : rings)
        all.push_back(std::make_unique<Followed>(ring.baseName, ring.isTrace));
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
        // One run needs no heading, and what is read by other programs neither.
        if (!heading.empty() && (run > 1 || options.all))
            toOutput(colours.strong(heading) + "\n");
        heading.clear();
        toOutput(painted(line.line, colours));
        toOutput("\n");
    }
    if (options.follow)
        follow(source.rings(), filter, colours, run);
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
        throw UsageError(fmt::format("there is no run {}; the last one is {}", options.run, last));
    if (options.json) {
        nlohmann::ordered_json runs = nlohmann::ordered_json::array();
        for (const RunStory& story : stories)
            runs.push_back(jsonOf(story));
        toOutput(nlohmann::ordered_json{{"runs", runs}}.dump(2, ' ', false,
                                                             nlohmann::json::error_handler_t::replace) +
                 "\n");
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

void addPaths(CLI::App& command, Options& options) {
    command.add_option(
        "PATH", options.paths,
        "Folders and files of traces and logs, or - for standard input; else this user's log folder");
}

void addRun(CLI::App& command, Options& options, const char* what) {
    command.add_option("--run", options.run, what)->check(CLI::PositiveNumber)->type_name("NUMBER");
}

} // namespace

int main(int argumentCount, char** arguments) {
    CLI::App app("What happened? Reads the traces and logs of the launcher.", "zevo-trace");
    app.require_subcommand(1);
    Options options;

    CLI::App* const showCommand =
        app.add_subcommand("show", "Show trace and log, merged on time, or some lines of them");
    addPaths(*showCommand, options);
    showCommand
        ->add_option("--thread", options.threads,
                     "Threads of these names; * at the begin or the end of a name")
        ->type_name("PATTERN");
    showCommand
        ->add_option("--call", options.calls,
                     "Calls of these names and their messages, as TRACE_THE_CALL has them")
        ->type_name("PATTERN");
    showCommand->add_option("--hide", options.hidden, "Not the calls of these names")->type_name("PATTERN");
    showCommand->add_option("--within", options.within, "Only what happens inside such calls")
        ->type_name("PATTERN");
    showCommand
        ->add_option("--level", options.levels,
                     "Messages and log lines of these levels: debug, error, warning, "
                     "level_0 to level_5, with commas between them")
        ->type_name("LEVELS");
    showCommand->add_option("--text", options.texts, "Lines that hold this, in any letter case")
        ->type_name("TEXT");
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

    return runTool(app, argumentCount, arguments, [&]() -> ExitStatus {
        if (*showCommand)
            return show(options);
        return why(options);
    });
}
