#pragma once

#include <cstddef>
#include <string_view>

/// Reads a text line by line without copying it. The text outlives the cursor and the lines it hands out.
class LineCursor {
public:
    explicit LineCursor(std::string_view text) : m_text(text) {}

    /// The next line without its line feed; behind the end, empty lines without end.
    std::string_view next() {
        const std::string_view rest = m_text.substr(m_position);
        const std::size_t length = rest.find('\n');
        if (length == std::string_view::npos) {
            m_position = m_text.size();
            return rest;
        }
        m_position += length + 1;
        return rest.substr(0, length);
    }

    /// Where the next line begins.
    std::size_t getPosition() const { return m_position; }
    /// @param position one that getPosition returned
    void setPosition(std::size_t position) { m_position = position; }

private:
    std::string_view m_text;
    std::size_t m_position = 0;
};
