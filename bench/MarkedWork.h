#pragma once

// A function with a call marker, the same function without one, and a tracer with filters of the usual
// length. The benchmarks of the call marker use them, and so does the program whose instructions are counted.

#include "CallMarker.h"
#include "TemporaryFolder.h"
#include "Tracer.h"

#include <cstdint>
#include <cstdio>
#include <string>

const int DEPTH = 10;

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
    /// Runs `action` nested in `depth` traced calls.
    template <typename Action>
    __attribute__((noinline)) void below(int depth, const Action& action) {
        TRACE_METHOD();
        if (depth > 1)
            below(depth - 1, action);
        else
            action();
    }
};

/// Calls METHOD `calls` times, nested in DEPTH traced calls.
template <void (Work::*METHOD)(int)>
void callAtDepth(std::int64_t calls) {
    Work work;
    work.below(DEPTH, [&work, calls] {
        for (std::int64_t call = 0; call < calls; ++call)
            (work.*METHOD)(1);
    });
}

/// A tracer that writes the entries and exits of all calls except Work::hidden, with their time.
class Tracing {
public:
    Tracing() {
        Tracer::SetInstance(&m_tracer);
        m_tracer.TraceTheThread("*");
        for (int i = 0; i < 19; ++i)
            m_tracer.TraceTheCall(("SomeOtherClass" + std::to_string(i) + "::*").c_str());
        m_tracer.TraceTheCall("*");
        m_tracer.TraceTheCall("-*::hidden");
        m_tracer.setPrintExits(true);
        m_tracer.setPrintTime(true);
        m_tracer.setMaximumLinesPerFile(1000000000);
    }
    /// Begins with a new file: truncating a long one would be part of the measured time.
    void start() {
        std::remove(file().c_str());
        m_tracer.SetFileName(m_folder / "trace");
        m_tracer.setEnabled(true);
    }
    /// Returns when the last line is in the file.
    void finish() { m_tracer.FinishTracing(); }
    std::string file() const { return m_folder / "trace_0.txt"; }

private:
    TemporaryFolder m_folder;
    Tracer m_tracer;
};
