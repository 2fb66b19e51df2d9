#pragma once

// The floor of a work that writes a file: one write of all its bytes to a new file.

#include "TemporaryFolder.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <fcntl.h>
#include <string>
#include <unistd.h>

/// The benchmark must use manual time.
inline void writeAtOnce(benchmark::State& state, const std::string& text) {
    using Clock = std::chrono::steady_clock;
    for (auto _ : state) {
        const TemporaryFolder target;
        const auto begin = Clock::now();
        const int file = open((target / "file").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        if (write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            state.SkipWithError("write");
        close(file);
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
    }
}
