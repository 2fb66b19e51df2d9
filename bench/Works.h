#pragma once

// What the benchmarks share. Each is named "work/who/size": `who` is "zevo" (or "zevo-..." for our code with
// other settings), "floor" for the least that the work can cost, or the rival's name. Each sets the counter
// cost_ns, the nanoseconds of one operation; tools/bench-report makes its tables and plots from the names and
// counters.

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

namespace works {

/// A run that only shows that every benchmark still works: small sizes, few rounds.
inline bool isSmokeRun() {
    return std::getenv("ZEVO_BENCH_SMOKE") != nullptr;
}

/// The sizes from `smallest` to `largest`, each ten times the one before; in a smoke run only `smallest`.
inline std::vector<std::int64_t> decades(std::int64_t smallest, std::int64_t largest) {
    std::vector<std::int64_t> sizes;
    for (std::int64_t size = smallest; size <= (isSmokeRun() ? smallest : largest); size *= 10)
        sizes.push_back(size);
    return sizes;
}

/// The value of cost_ns if one iteration performs `operations` operations. It is processor time, or real time
/// if the benchmark uses that.
inline benchmark::Counter nanosecondsPer(std::int64_t operations) {
    return benchmark::Counter(1e-9 * static_cast<double>(operations),
                              benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// Runs this program in a new process, with `arguments` split by the shell, and returns the first line of its
/// output, or "" if it fails. For measurements of memory: this process would reuse what an earlier work
/// freed.
inline std::string answerOf(const std::string& arguments) {
    char program[4096] = {};
    if (readlink("/proc/self/exe", program, sizeof program - 1) < 0)
        return "";
    const std::string command = "'" + std::string(program) + "' " + arguments;
    std::FILE* const output = popen(command.c_str(), "r");
    if (output == nullptr)
        return "";
    char line[256] = {};
    const bool isThere = std::fgets(line, sizeof line, output) != nullptr;
    return pclose(output) == 0 && isThere ? line : "";
}

} // namespace works
