#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace Zevo {

/// One line that shows the progress of a long operation, only on a terminal, and only after a second. It is
/// erased when the operation ends, so that it does not stay between the results. Used on one thread.
class ProgressBar {
public:
    using Clock = std::chrono::steady_clock;

    /// @param stream borrowed; standard error, so that results can be piped
    ///  @param total  the total amount, in any unit; 0 if unknown
    ProgressBar(std::string what, std::uint64_t total, std::FILE* stream = stderr);
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    ~ProgressBar();

    /// Reports the amount done so far. Cheap enough for every few hundred lines; draws at most ten times a
    /// second.
    void at(std::uint64_t done) { at(done, Clock::now()); }
    void at(std::uint64_t done, Clock::time_point now);

private:
    void draw(std::uint64_t done);

    std::string m_what;
    std::uint64_t m_total;
    std::FILE* m_stream;
    bool m_isTerminal;
    bool m_drawn = false;
    Clock::time_point m_nextDrawing;
};

} // namespace Zevo
