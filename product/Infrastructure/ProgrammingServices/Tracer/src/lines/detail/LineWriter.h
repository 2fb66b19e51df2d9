#pragma once

#include <cstring>
#include <string_view>

namespace kf::detail {

/// Puts the pieces of a line one behind the other, where room for all of them is known to be.
class LineWriter {
public:
    LineWriter() = default;
    explicit LineWriter(char* next) : m_next(next) {}

    void put(std::string_view text) {
        std::memcpy(m_next, text.data(), text.size());
        m_next += text.size();
    }
    void put(char character) { *m_next++ = character; }

    /// Behind the last piece.
    char* end() const { return m_next; }

private:
    char* m_next = nullptr;
};

} // namespace kf::detail
