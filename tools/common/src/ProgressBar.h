#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace Zevo {

/// One line that tells how far a long work has come, on a terminal only, and only from its second second on. It is wiped
/// out when the work ends, so that nothing of it stands between the results. Used on one thread.
class ProgressBar {
public:
    using Clock = std::chrono::steady_clock;

    /// @param stream borrowed; standard error, so that results can be piped
    ///  @param total  how much there is to do, in any unit; 0 when that is not known
    ProgressBar(std::string what, std::uint64_t total, std::FILE* stream = stderr);
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    ~ProgressBar();

    /// So much is done. Cheap enough for every few hundred lines; draws ten times a second at most.
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
