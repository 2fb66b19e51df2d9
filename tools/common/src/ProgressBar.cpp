#include "ProgressBar.h"

#include <algorithm>
#include <unistd.h>
#include <utility>

namespace Zevo {
namespace {

constexpr std::uint64_t WIDTH = 30;

} // namespace

ProgressBar::ProgressBar(std::string what, std::uint64_t total, std::FILE* stream)
    : m_what(std::move(what)), m_total(total), m_stream(stream), m_isTerminal(isatty(fileno(stream)) == 1),
      m_nextDrawing(Clock::now() + std::chrono::seconds(1)) {}

ProgressBar::~ProgressBar() {
    if (m_drawn)
        std::fputs("\r\033[K", m_stream);
}

void ProgressBar::at(std::uint64_t done, Clock::time_point now) {
    if (!m_isTerminal || now < m_nextDrawing)
        return;
    m_nextDrawing = now + std::chrono::milliseconds(100);
    draw(done);
}

void ProgressBar::draw(std::uint64_t done) {
    m_drawn = true;
    if (m_total == 0) {
        std::fprintf(m_stream, "\r\033[K%s ...", m_what.c_str());
    } else {
        const std::uint64_t part = std::min(done, m_total);
        const auto filled = static_cast<std::size_t>(part * WIDTH / m_total);
        std::fprintf(m_stream, "\r\033[K%s [%s%s] %d%%", m_what.c_str(), std::string(filled, '#').c_str(),
                     std::string(WIDTH - filled, '.').c_str(), static_cast<int>(part * 100 / m_total));
    }
    std::fflush(m_stream);
}

} // namespace Zevo
