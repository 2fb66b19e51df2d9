// A log line, written and switched off, beside other loggers: the caller's cost at 1 and at 4 threads (mean,
// median and 99.9th percentile), and the cost until the last line is in the file.

#include "LogRivals.h"
#include "TemporaryFolder.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace {

const int LINES = 200000;
const char DEVICE[] = "USB#Vid_12d1&Pid_1001";

std::unique_ptr<TemporaryFolder> folder;

template <typename Rival>
void start(const benchmark::State&) {
    folder = std::make_unique<TemporaryFolder>();
    Rival::start(*folder / "log");
}

template <typename Rival>
void finish(const benchmark::State&) {
    Rival::finish();
    folder.reset();
}

template <typename Rival>
void disabledLine(benchmark::State& state) {
    int attempt = 0;
    for (auto _ : state) {
        Rival::off(DEVICE, ++attempt, 10, 1.234);
    }
}

template <typename Rival>
void callersCost(benchmark::State& state) {
    int attempt = 0;
    for (auto _ : state) {
        Rival::line(DEVICE, ++attempt, 10, 1.234);
    }
}

/// One line in nanoseconds, measured call by call; the clock's own cost is part of each figure.
template <typename Rival>
void callersCostDistribution(benchmark::State& state) {
    static std::mutex lock;
    static std::vector<double> all;
    std::vector<double> mine;
    mine.reserve(LINES);
    int attempt = 0;
    for (auto _ : state) {
        const auto begin = std::chrono::steady_clock::now();
        Rival::line(DEVICE, ++attempt, 10, 1.234);
        const auto end = std::chrono::steady_clock::now();
        mine.push_back(std::chrono::duration<double, std::nano>(end - begin).count());
    }
    const std::lock_guard<std::mutex> guard(lock);
    all.insert(all.end(), mine.begin(), mine.end());
    if (all.size() == static_cast<size_t>(state.threads()) * mine.size()) {
        std::sort(all.begin(), all.end());
        state.counters["median_ns"] = all[all.size() / 2];
        state.counters["p999_ns"] = all[all.size() * 999 / 1000];
        state.counters["max_ns"] = all.back();
        all.clear();
    }
}

/// Lines of several threads, from the first call until the last line is in the file.
template <typename Rival>
void endToEnd(benchmark::State& state) {
    const int threads = static_cast<int>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        start<Rival>(state);
        state.ResumeTiming();
        std::vector<std::thread> writers;
        for (int i = 0; i < threads; ++i) {
            writers.emplace_back([threads] {
                for (int attempt = 0; attempt < LINES / threads; ++attempt) {
                    Rival::line(DEVICE, attempt, 10, 1.234);
                }
            });
        }
        for (std::thread& writer : writers) {
            writer.join();
        }
        Rival::finish();
        state.PauseTiming();
        folder.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * LINES);
}

#define FOR_EACH_RIVAL(rival)                                                                                \
    BENCHMARK(disabledLine<rivals::rival>)                                                                   \
        ->Setup(start<rivals::rival>)                                                                        \
        ->Teardown(finish<rivals::rival>)                                                                    \
        ->Threads(1)                                                                                         \
        ->Threads(4)                                                                                         \
        ->UseRealTime();                                                                                     \
    BENCHMARK(callersCost<rivals::rival>)                                                                    \
        ->Setup(start<rivals::rival>)                                                                        \
        ->Teardown(finish<rivals::rival>)                                                                    \
        ->Iterations(LINES)                                                                                  \
        ->Threads(1)                                                                                         \
        ->Threads(4)                                                                                         \
        ->UseRealTime();                                                                                     \
    BENCHMARK(callersCostDistribution<rivals::rival>)                                                        \
        ->Setup(start<rivals::rival>)                                                                        \
        ->Teardown(finish<rivals::rival>)                                                                    \
        ->Iterations(LINES)                                                                                  \
        ->Threads(1)                                                                                         \
        ->Threads(4)                                                                                         \
        ->UseRealTime();                                                                                     \
    BENCHMARK(endToEnd<rivals::rival>)->Arg(1)->Arg(4)->UseRealTime()->Unit(benchmark::kMillisecond)

FOR_EACH_RIVAL(Floor);
FOR_EACH_RIVAL(Zevo);
FOR_EACH_RIVAL(SpdlogSync);
FOR_EACH_RIVAL(SpdlogAsync);
FOR_EACH_RIVAL(Glog);
FOR_EACH_RIVAL(Log4cplus);
FOR_EACH_RIVAL(BoostLog);
#ifdef ZEVO_WITH_FMTLOG
FOR_EACH_RIVAL(Fmtlog);
#endif
#ifdef ZEVO_WITH_QUILL
FOR_EACH_RIVAL(Quill);
#endif

} // namespace
