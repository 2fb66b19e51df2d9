#pragma once

#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Tracer.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// The result of a child that installs the crash handler. The handler must never be installed in the test
/// program itself: it would turn any failure into a silent success.
struct CrashedChild {
    /// The child's exit status; -1 if a signal ended or stopped it.
    int exitStatus() const { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }

    int status = 0;
    double seconds = 0;
    std::string trace;
};

/// The exit status of a child whose body returned.
static constexpr int SURVIVED = 42;

/// Runs the body in a child whose tracer traces everything, through its queue as in the field, and waits for
/// its end. The body gets the folder of the trace. A child that stops is killed.
inline CrashedChild runCrashingChild(const std::function<void(const TemporaryFolder&)>& body,
                                     bool withTracer = true) {
    const TemporaryFolder folder;
    const auto start = std::chrono::steady_clock::now();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        Tracer tracer;
        if (withTracer) {
            tracer.SetFileName(folder / "trace");
            tracer.TraceTheThread("*");
            tracer.TraceTheCall("*");
            tracer.addToLevelMask(UINT32_MAX);
            Tracer::SetInstance(&tracer);
            tracer.setEnabled(true);
        }
        body(folder);
        _exit(SURVIVED);
    }
    CrashedChild result;
    waitpid(child, &result.status, WUNTRACED);
    if (WIFSTOPPED(result.status)) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const std::string trace = folder / "trace_0.txt";
    if (access(trace.c_str(), F_OK) == 0)
        result.trace = readFile(trace);
    return result;
}
