#pragma once

#include <cstring>
#include <string_view>

namespace kf::detail {

/// Appends the pieces of a line to a buffer. The caller has made sure that they all fit.
class LineWriter {
public:
    LineWriter() = default;
    explicit LineWriter(char* next) : m_next(next) {}

    void put(std::string_view text) {
        std::memcpy(m_next, text.data(), text.size());
        m_next += text.size();
    }
    void put(char character) { *m_next++ = character; }

    /// A pointer behind the last piece.
    char* end() const { return m_next; }

private:
    char* m_next = nullptr;
};

} // namespace kf::detail
