#pragma once

#include "detail/FileDescriptor.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace kf::detail {

/// Reads a text line by line: a borrowed text, or a file, which it owns and reads in blocks. The row
/// peak_bytes of dictionary-load needs the blocks: with the text in memory beside the tree that is made of
/// it, loading needs a third more memory, and more than the best rival.
///
/// Positions are in bytes from the start of the text. After the end, next() returns empty lines for ever.
///
/// Errors: none is thrown. A file that cannot be read, or not to its end, ends the text there; finish()
/// tells.
/// Thread: one at a time.
class LineCursor {
public:
    /// @param text outlives the cursor and all of its lines
    explicit LineCursor(std::string_view text) : m_rest(text) {}
    /// The text of a file, up to its first NUL byte.
    /// @param file  read from its current position; may be a pipe. One that is not open counts as failed
    explicit LineCursor(FileDescriptor file) : m_file(std::move(file)), m_failed(!m_file.isOpen()) {}

    /// The next line without its line feed. A file's line is valid until the next call.
    std::string_view next() {
        m_linePosition = m_position;
        std::size_t length = m_rest.find('\n');
        if (length == std::string_view::npos && !findInFile(length))
            return takeLast();
        const std::string_view line = m_rest.substr(0, length);
        m_rest.remove_prefix(length + 1);
        m_position += length + 1;
        return line;
    }

    /// Where the next line begins.
    std::size_t getPosition() const { return m_position; }
    /// Where the line that next() returned last begins; 0 before the first.
    std::size_t getLinePosition() const { return m_linePosition; }
    /// All that is left, as one string.
    std::string takeRest();
    /// Skips what is left. False if the file could not be read to its end.
    bool finish();

private:
    std::string_view takeLast() {
        m_position += m_rest.size();
        return std::exchange(m_rest, m_rest.substr(m_rest.size()));
    }
    bool findInFile(std::size_t& length);
    bool readMore();

    std::string_view m_rest; // not returned yet
    std::size_t m_position = 0;
    std::size_t m_linePosition = 0;
    FileDescriptor m_file; // closed at the end of the text
    std::string m_buffer;  // of a file; m_rest is its last part
    bool m_failed = false;
};

} // namespace kf::detail
