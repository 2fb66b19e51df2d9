// The cost of a log line, enabled and disabled, in our logger and in others.
//
//   log-line-off      a line that the logger's level disables
//   log-line          the caller's cost of a line: real time divided by the lines of all threads
//   log-line-latency  each line timed by itself: median, 99.9th percentile, maximum. Each includes the cost
//                     of reading the clock, which the floor shows.
//   log-end-to-end    per line, from the first call until the last line is in the file
//   log-line-memory   the resident memory that a queued line takes, and the bytes that it has in the file
//
// Before log-line and log-line-latency each logger writes as many lines as the run does, so that its memory
// is allocated; "zevo-first-burst" does not. After each run the lines in the files are counted: a logger that
// has dropped lines makes the run fail. The floor does nothing per line; its log-end-to-end is one write of
// as many lines.

#include "LogRivals.h"
#include "OneWrite.h"
#include "TemporaryFolder.h"
#include "Works.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

const std::int64_t LINES = works::isSmokeRun() ? 2000 : 200000; // per thread
const char DEVICE[] = "USB#Vid_12d1&Pid_1001";
const char EVERY_LINE_HOLDS[] = " arrived, attempt ";

std::unique_ptr<TemporaryFolder> folder;
std::int64_t linesGiven = 0;

template <typename Rival>
void start() {
    folder = std::make_unique<TemporaryFolder>();
    linesGiven = 0;
    Rival::start(*folder / "log");
}

template <typename Rival>
void give(std::int64_t lines) {
    for (std::int64_t attempt = 0; attempt < lines; ++attempt)
        Rival::line(DEVICE, static_cast<int>(attempt), 10, 1.234);
}

std::int64_t countIn(const std::string& path) {
    std::ifstream file(path);
    std::int64_t lines = 0;
    for (std::string line; std::getline(file, line);)
        lines += line.find(EVERY_LINE_HOLDS) != std::string::npos ? 1 : 0;
    return lines;
}

std::int64_t linesInFiles() {
    std::int64_t lines = 0;
    DIR* const entries = opendir(folder->path().c_str());
    while (const dirent* const entry = readdir(entries))
        if (entry->d_type == DT_REG) // skip the symbolic link that one of the loggers makes to its file
            lines += countIn(*folder / entry->d_name);
    closedir(entries);
    return lines;
}

/// Called after the logger has ended. Returns an error message if lines are missing, otherwise "".
template <typename Rival>
std::string whatIsWrong() {
    const std::int64_t lines = Rival::WRITES ? linesInFiles() : linesGiven;
    folder.reset();
    return lines == linesGiven
               ? ""
               : std::to_string(linesGiven) + " lines given, " + std::to_string(lines) + " in the file";
}

/// Setup and teardown of a run, which may have several threads; each is called once per run.
template <typename Rival, bool WARM>
void startLines(const benchmark::State& state) {
    start<Rival>();
    const std::int64_t lines = LINES * state.threads();
    linesGiven = WARM ? 2 * lines : lines;
    if (WARM) {
        give<Rival>(lines);
        Rival::flush();
    }
}
template <typename Rival>
void finishLines(const benchmark::State&) {
    Rival::finish();
    const std::string wrong = whatIsWrong<Rival>();
    if (!wrong.empty()) // too late for State::SkipWithError()
        throw std::runtime_error(wrong);
}

benchmark::Counter nanosecondsPerLine() {
    benchmark::Counter counter = works::nanosecondsPer(1);
    counter.flags = static_cast<benchmark::Counter::Flags>(counter.flags | benchmark::Counter::kAvgThreads);
    return counter;
}

template <typename Rival>
void disabledLine(benchmark::State& state) {
    int attempt = 0;
    for (auto _ : state)
        Rival::off(DEVICE, ++attempt, 10, 1.234);
    state.counters["cost_ns"] = nanosecondsPerLine();
}

template <typename Rival>
void line(benchmark::State& state) {
    int attempt = 0;
    for (auto _ : state)
        Rival::line(DEVICE, ++attempt, 10, 1.234);
    state.counters["cost_ns"] = nanosecondsPerLine();
}

template <typename Rival>
void lineByLine(benchmark::State& state) {
    static std::mutex lock;
    static std::vector<double> all;
    std::vector<double> mine(static_cast<std::size_t>(LINES), 1.0); // written once: no page faults later
    mine.clear();
    int attempt = 0;
    for (auto _ : state) {
        const auto begin = Clock::now();
        Rival::line(DEVICE, ++attempt, 10, 1.234);
        mine.push_back(std::chrono::duration<double, std::nano>(Clock::now() - begin).count());
    }
    state.counters["cost_ns"] = nanosecondsPerLine();
    const std::lock_guard<std::mutex> guard(lock);
    all.insert(all.end(), mine.begin(), mine.end());
    if (all.size() == static_cast<std::size_t>(state.threads()) * mine.size()) {
        std::sort(all.begin(), all.end());
        state.counters["median_ns"] = all[all.size() / 2];
        state.counters["p999_ns"] = all[all.size() * 999 / 1000];
        state.counters["max_ns"] = all.back();
        all.clear();
    }
}

/// Runs `work` in `threads` threads at once, then `end`; returns the seconds of both together.
template <typename Work, typename End>
double secondsOf(std::int64_t threads, const Work& work, const End& end) {
    const auto begin = Clock::now();
    std::vector<std::thread> workers;
    for (std::int64_t i = 0; i < threads; ++i)
        workers.emplace_back(work);
    for (std::thread& worker : workers)
        worker.join();
    end();
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

template <typename Rival>
void endToEnd(benchmark::State& state) {
    const std::int64_t lines = state.range(0);
    const std::int64_t threads = state.range(1);
    for (auto _ : state) {
        start<Rival>();
        linesGiven = lines / threads * threads;
        state.SetIterationTime(secondsOf(
            threads, [&] { give<Rival>(lines / threads); }, [] { Rival::finish(); }));
        const std::string wrong = whatIsWrong<Rival>();
        if (!wrong.empty())
            state.SkipWithError(wrong.c_str());
    }
    state.counters["cost_ns"] = works::nanosecondsPer(lines);
}

/// The floor of log-end-to-end: one write of as many lines.
void oneWrite(benchmark::State& state) {
    const std::string line =
        "[12:34:56-789][LEVEL_0] device USB#Vid_12d1&Pid_1001 arrived, attempt 1234 of 10, 1.234 s\n";
    std::string text;
    for (std::int64_t i = 0; i < state.range(0); ++i)
        text += line;
    writeAtOnce(state, text);
    state.counters["cost_ns"] = works::nanosecondsPer(state.range(0));
}

// ---- Memory of queued lines

std::int64_t residentBytes() {
    std::ifstream file("/proc/self/statm");
    std::int64_t pages = 0;
    file >> pages >> pages;
    return pages * sysconf(_SC_PAGESIZE);
}

/// Implements --memory: queues `count` lines, and prints the resident bytes, the bytes in the file and the
/// nanoseconds of each.
int tellQueuedMemory(std::int64_t count) {
    start<rivals::Zevo>();
    const double lines = static_cast<double>(count);
    const std::int64_t before = residentBytes();
    const auto begin = Clock::now();
    give<rivals::Zevo>(count);
    const double nanoseconds = std::chrono::duration<double, std::nano>(Clock::now() - begin).count();
    const std::int64_t after = residentBytes();
    rivals::Zevo::flush();
    struct stat file = {};
    stat((*folder / "log_0.txt").c_str(), &file);
    std::printf("%f %f %f\n", static_cast<double>(after - before) / lines,
                static_cast<double>(file.st_size) / lines, nanoseconds / lines);
    rivals::Zevo::finish();
    folder.reset();
    return 0;
}

/// Measured in a new process: this one would reuse memory that earlier runs have freed.
void queuedMemory(benchmark::State& state) {
    double perLine = 0;
    double ownBytes = 0;
    double nanoseconds = 0;
    for (auto _ : state) {
        const std::string answer = works::answerOf("--memory " + std::to_string(state.range(0)));
        if (std::sscanf(answer.c_str(), "%lf %lf %lf", &perLine, &ownBytes, &nanoseconds) != 3)
            state.SkipWithError("the measured process died");
        state.SetIterationTime(nanoseconds / 1e9);
    }
    state.counters["cost_ns"] = nanoseconds;
    state.counters["bytes_per_line"] = perLine;
    state.counters["own_bytes_per_line"] = ownBytes;
}

// ---- The table

template <typename Rival, bool WARM>
void addLines(const std::string& who) {
    for (const auto& [work, function] :
         {std::pair("log-line/", line<Rival>), std::pair("log-line-latency/", lineByLine<Rival>)})
        benchmark::RegisterBenchmark((work + who).c_str(), function)
            ->Setup(startLines<Rival, WARM>)
            ->Teardown(finishLines<Rival>)
            ->Iterations(LINES)
            ->Threads(1)
            ->Threads(4)
            ->UseRealTime();
}

template <typename Rival>
void startIdle(const benchmark::State&) {
    start<Rival>();
}

template <typename Rival>
void add(const std::string& who) {
    benchmark::RegisterBenchmark(("log-line-off/" + who).c_str(), disabledLine<Rival>)
        ->Setup(startIdle<Rival>)
        ->Teardown(finishLines<Rival>)
        ->Threads(1)
        ->Threads(4)
        ->UseRealTime();
    addLines<Rival, true>(who);
}

template <typename Function>
benchmark::internal::Benchmark* addEndToEnd(const std::string& who, const Function& function) {
    auto* const added = benchmark::RegisterBenchmark(("log-end-to-end/" + who).c_str(), function);
    added->ArgNames({"", "threads"})->UseManualTime()->Unit(benchmark::kMicrosecond);
    for (const std::int64_t size : works::decades(1000, 1000000))
        added->Args({size, 1});
    added->Args({LINES, 1})->Args({LINES, 4});
    return added;
}

template <typename Rival>
void addRival(const std::string& who) {
    add<Rival>(who);
    addEndToEnd(who, endToEnd<Rival>);
}

void addAll() {
    add<rivals::Floor>("floor");
    addEndToEnd("floor", oneWrite);
    addRival<rivals::Zevo>("zevo");
    addLines<rivals::Zevo, false>("zevo-first-burst");
    addRival<rivals::SpdlogSync>("spdlog-sync");
    addRival<rivals::SpdlogAsync>("spdlog-async");
    addRival<rivals::Glog>("glog");
    addRival<rivals::Log4cplus>("log4cplus");
    addRival<rivals::BoostLog>("boost-log");
#ifdef ZEVO_WITH_FMTLOG
    addRival<rivals::Fmtlog>("fmtlog");
#endif
#ifdef ZEVO_WITH_QUILL
    addRival<rivals::Quill>("quill");
#endif
    auto* const memory = benchmark::RegisterBenchmark("log-line-memory/zevo", queuedMemory);
    memory->Iterations(1)->UseManualTime();
    for (const std::int64_t size : works::decades(10000, 1000000)) // fewer lines take only a few pages
        memory->Arg(size);
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount == 3 && std::string(arguments[1]) == "--memory")
        return tellQueuedMemory(std::atoll(arguments[2]));
    addAll();
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments))
        return 1;
    try {
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_log: %s\n", error.what());
        return 1;
    }
    benchmark::Shutdown();
    return 0;
}
