// A traced function beside the same function without a marker: while the tracer is disabled, while it writes
// entry and exit lines (20 filter patterns, depth 10, clock), and while the filters hide the call. The
// enabled cost is measured until the last line is in the file.

#include "CallMarker.h"
#include "TemporaryFolder.h"
#include "Tracer.h"

#include <benchmark/benchmark.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#ifdef ZEVO_WITH_LTTNG
#define TRACEPOINT_DEFINE
#define TRACEPOINT_PROBE_DYNAMIC_LINKAGE
#include "LttngRival.h"
#endif

namespace {

const int CALLS = 200000;

struct Work {
    int value = 0;

    __attribute__((noinline)) void plain(int step) { value += step; }
    __attribute__((noinline)) void traced(int step) {
        TRACE_METHOD();
        value += step;
    }
    __attribute__((noinline)) void hidden(int step) {
        TRACE_METHOD();
        value += step;
    }
#ifdef ZEVO_WITH_LTTNG
    __attribute__((noinline)) void tracepoint(int step) {
        tracepoint(zevo_bench, entry, step);
        value += step;
        tracepoint(zevo_bench, exit, step);
    }
#endif
    /// Runs `action` below so many traced calls.
    template <typename Action>
    __attribute__((noinline)) void below(int depth, const Action& action) {
        TRACE_METHOD();
        if (depth > 1)
            below(depth - 1, action);
        else
            action();
    }
};

/// A tracer with filters of the usual length that writes everything but Work::hidden.
class Tracing {
public:
    Tracing() {
        Tracer::SetInstance(&m_tracer);
        m_tracer.setEnabled(true);
        m_tracer.TraceTheThread("*");
        for (int i = 0; i < 19; ++i)
            m_tracer.TraceTheCall(("SomeOtherClass" + std::to_string(i) + "::*").c_str());
        m_tracer.TraceTheCall("*");
        m_tracer.TraceTheCall("-*::hidden");
        m_tracer.setPrintExits(true);
        m_tracer.setPrintTime(true);
        m_tracer.setMaximumLinesPerFile(1000000000);
        m_tracer.SetFileName(m_folder / "trace");
    }
    void finish() { m_tracer.FinishTracing(); }

private:
    TemporaryFolder m_folder;
    Tracer m_tracer;
};

void functionWithoutMarker(benchmark::State& state) {
    Work work;
    for (auto _ : state)
        work.plain(1);
    benchmark::DoNotOptimize(work.value);
}

void disabledMarker(benchmark::State& state) {
    Work work;
    for (auto _ : state)
        work.traced(1);
    benchmark::DoNotOptimize(work.value);
}

void disabledMarkerWithATracer(benchmark::State& state) {
    static Tracer tracer;
    if (state.thread_index() == 0)
        Tracer::SetInstance(&tracer);
    disabledMarker(state);
}

#ifdef ZEVO_WITH_LTTNG
void lttngTracepointOff(benchmark::State& state) {
    Work work;
    for (auto _ : state)
        work.tracepoint(1);
    benchmark::DoNotOptimize(work.value);
}
#endif

template <void (Work::*METHOD)(int)>
void enabled(benchmark::State& state) {
    const int threads = static_cast<int>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        auto tracing = std::make_unique<Tracing>();
        state.ResumeTiming();
        std::vector<std::thread> callers;
        for (int i = 0; i < threads; ++i) {
            callers.emplace_back([threads] {
                Work work;
                work.below(10, [&work, threads] {
                    for (int call = 0; call < CALLS / threads; ++call)
                        (work.*METHOD)(1);
                });
                benchmark::DoNotOptimize(work.value);
            });
        }
        for (std::thread& caller : callers)
            caller.join();
        tracing->finish();
        state.PauseTiming();
        tracing.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * CALLS);
}

BENCHMARK(functionWithoutMarker)->Threads(1)->Threads(4)->UseRealTime();
BENCHMARK(disabledMarker)->Threads(1)->Threads(4)->UseRealTime();
BENCHMARK(disabledMarkerWithATracer)->Threads(1)->Threads(4)->UseRealTime();
#ifdef ZEVO_WITH_LTTNG
BENCHMARK(lttngTracepointOff)->Threads(1)->Threads(4)->UseRealTime();
#endif
BENCHMARK(enabled<&Work::traced>)
    ->Name("enabledMarker")
    ->Arg(1)
    ->Arg(4)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(enabled<&Work::hidden>)
    ->Name("hiddenMarker")
    ->Arg(1)
    ->Arg(4)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
