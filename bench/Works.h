#pragma once

// What the benchmarks share. Each is named "work/who/size": `who` is "zevo" (or "zevo-..." for other settings
// of ours), "floor" for the least that the work can cost, or the rival's name. Each sets the counter cost_ns,
// the nanoseconds of one operation; tools/bench-report makes its tables and plots out of the names and
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

/// From `smallest` to `largest` by tens; in a smoke run only the smallest.
inline std::vector<std::int64_t> decades(std::int64_t smallest, std::int64_t largest) {
    std::vector<std::int64_t> sizes;
    for (std::int64_t size = smallest; size <= (isSmokeRun() ? smallest : largest); size *= 10)
        sizes.push_back(size);
    return sizes;
}

/// The value of cost_ns when one iteration does so many operations. Of the processor's time, or of real time
/// where the benchmark uses that.
inline benchmark::Counter nanosecondsPer(std::int64_t operations) {
    return benchmark::Counter(1e-9 * static_cast<double>(operations),
                              benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// What this program prints when it is run with these arguments (for the shell), in a process of its own:
/// what memory is measured in, since what an earlier work has left would be used again. At most a line.
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
