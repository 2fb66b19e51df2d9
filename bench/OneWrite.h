#pragma once

// A floor of what ends in a file: all its bytes in a new file, with one write.

#include "TemporaryFolder.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <fcntl.h>
#include <string>
#include <unistd.h>

/// The benchmark uses manual time.
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
