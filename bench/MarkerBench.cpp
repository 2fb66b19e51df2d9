// The cost of a call marker: a function with one beside the same function without.
//
//   marker-off      no tracer, or a disabled one ("zevo-with-tracer")
//   marker-on       per call, with its entry line and its exit line (21 filter patterns, depth 10, time),
//                   from the first call until the last line is in the file
//   marker-hidden   the same for a call that the filters hide
//
// Before the run the tracer traces as many calls, so that its memory is allocated; "zevo-first-burst" uses a
// new tracer. Floors: the function without a marker; for marker-on one write of the same bytes.

#include "MarkedWork.h"
#include "OneWrite.h"
#include "TextFile.h"
#include "Works.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <fcntl.h>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#ifdef ZEVO_WITH_LTTNG
#include "LttngTracepoints.inc"
#endif

namespace {

using Clock = std::chrono::steady_clock;

const std::int64_t CALLS = works::isSmokeRun() ? 2000 : 200000;

/// With several threads: real time divided by the calls of all of them.
benchmark::Counter nanosecondsPerCall() {
    benchmark::Counter cost = works::nanosecondsPer(1);
    cost.flags = static_cast<benchmark::Counter::Flags>(cost.flags | benchmark::Counter::kAvgThreads);
    return cost;
}

template <void (Work::*METHOD)(int)>
void calls(benchmark::State& state) {
    Work work;
    for (auto _ : state)
        (work.*METHOD)(1);
    benchmark::DoNotOptimize(work.value);
    state.counters["cost_ns"] = nanosecondsPerCall();
}

#ifdef ZEVO_WITH_LTTNG
__attribute__((noinline)) void betweenTracepoints(Work& work, int step) {
    lttng_ust_tracepoint(zevo_bench, entry, step);
    work.value += step;
    lttng_ust_tracepoint(zevo_bench, exit, step);
}

void tracepoints(benchmark::State& state) {
    Work work;
    for (auto _ : state)
        betweenTracepoints(work, 1);
    benchmark::DoNotOptimize(work.value);
    state.counters["cost_ns"] = nanosecondsPerCall();
}
#endif

std::unique_ptr<Tracer> disabledTracer;

/// Makes `calls` calls, divided among `threads` threads; returns the seconds until their lines are in the
/// file.
template <void (Work::*METHOD)(int)>
double run(Tracing& tracing, std::int64_t calls, std::int64_t threads) {
    tracing.start();
    const auto begin = Clock::now();
    std::vector<std::thread> callers;
    for (std::int64_t i = 0; i < threads; ++i)
        callers.emplace_back([calls, threads] { callAtDepth<METHOD>(calls / threads); });
    for (std::thread& caller : callers)
        caller.join();
    tracing.finish();
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

template <void (Work::*METHOD)(int), bool WARM>
void traced(benchmark::State& state) {
    const std::int64_t calls = state.range(0);
    const std::int64_t threads = state.range(1);
    auto tracing = std::make_unique<Tracing>();
    if (WARM)
        run<METHOD>(*tracing, calls, threads);
    for (auto _ : state) {
        if (!WARM)
            tracing = std::make_unique<Tracing>();
        state.SetIterationTime(run<METHOD>(*tracing, calls, threads));
    }
    const std::string trace = readFile(tracing->file());
    const auto lines = std::count(trace.begin(), trace.end(), '\n');
    const std::int64_t expected =
        threads * 2 * DEPTH + (METHOD == &Work::traced ? calls / threads * threads * 2 : 0);
    if (lines != expected)
        state.SkipWithError("lines are missing in the trace");
    state.counters["cost_ns"] = works::nanosecondsPer(calls);
}

/// The floor of marker-on: one write of the same trace.
void oneWrite(benchmark::State& state) {
    Tracing tracing;
    run<&Work::traced>(tracing, state.range(0), 1);
    const std::string text = readFile(tracing.file());
    writeAtOnce(state, text);
    state.counters["cost_ns"] = works::nanosecondsPer(state.range(0));
}

// ---- The table

template <typename Function>
benchmark::internal::Benchmark* addOff(const char* name, const Function& function) {
    return benchmark::RegisterBenchmark(name, function)->Threads(1)->Threads(4)->UseRealTime();
}

template <typename Function>
void addOn(const char* name, const Function& function) {
    auto* const added = benchmark::RegisterBenchmark(name, function);
    added->ArgNames({"", "threads"})->UseManualTime()->Unit(benchmark::kMicrosecond);
    for (const std::int64_t size : works::decades(1000, 1000000))
        added->Args({size, 1});
    added->Args({CALLS, 1})->Args({CALLS, 4});
}

void addAll() {
    addOff("marker-off/floor", calls<&Work::plain>);
    addOff("marker-off/zevo", calls<&Work::traced>);
    addOff("marker-off/zevo-with-tracer", calls<&Work::traced>)
        ->Setup([](const benchmark::State&) {
            disabledTracer = std::make_unique<Tracer>();
            Tracer::SetInstance(disabledTracer.get());
        })
        ->Teardown([](const benchmark::State&) { disabledTracer.reset(); });
#ifdef ZEVO_WITH_LTTNG
    addOff("marker-off/lttng-ust", tracepoints);
#endif
    addOn("marker-on/floor", oneWrite);
    addOn("marker-on/zevo", traced<&Work::traced, true>);
    addOn("marker-on/zevo-first-burst", traced<&Work::traced, false>);
    addOn("marker-hidden/floor", traced<&Work::plain, true>);
    addOn("marker-hidden/zevo", traced<&Work::hidden, true>);
}

} // namespace

int main(int argumentCount, char** arguments) {
    addAll();
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
