#include "LineQueue.h"

#include <algorithm>
#include <cstring>

namespace {
// A burst may have made the buffer large; what is larger than this is given back once it is empty.
constexpr std::size_t KEPT_BYTES = 1024 * 1024;
} // namespace

void LineQueue::push(std::string_view line) {
    const void* const nul = std::memchr(line.data(), '\0', line.size());
    m_text.append(line.data(), nul == nullptr
                                   ? line.size()
                                   : static_cast<std::size_t>(static_cast<const char*>(nul) - line.data()));
    m_ends.push_back(m_text.size());
}

std::string_view LineQueue::front(std::size_t lines) const {
    const std::size_t taken = std::min(lines, size());
    if (taken == 0)
        return {};
    return std::string_view(m_text).substr(m_written, m_ends[m_front + taken - 1] - m_written);
}

std::size_t LineQueue::consume(std::size_t bytes) {
    m_written += bytes;
    std::size_t completed = 0;
    while (!empty() && m_ends[m_front] <= m_written) {
        ++m_front;
        ++completed;
    }
    if (empty())
        clear();
    else if (m_written > m_text.size() / 2)
        dropWritten();
    return completed;
}

void LineQueue::clear() {
    m_text.clear();
    m_ends.clear();
    if (m_text.capacity() > KEPT_BYTES) {
        m_text.shrink_to_fit();
        m_ends.shrink_to_fit();
    }
    m_front = 0;
    m_written = 0;
}

void LineQueue::dropWritten() {
    m_text.erase(0, m_written);
    m_ends.erase(m_ends.begin(), m_ends.begin() + static_cast<std::ptrdiff_t>(m_front));
    for (std::size_t& end : m_ends)
        end -= m_written;
    m_front = 0;
    m_written = 0;
}
