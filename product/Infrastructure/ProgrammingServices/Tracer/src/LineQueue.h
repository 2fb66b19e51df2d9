#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Finished lines that wait to be written: their bytes one behind the other in one growing buffer, and where
/// each of them ends. A line brings its own "\n", and may hold others.
///
/// Not thread-safe: the owner's lock guards it.
class LineQueue {
public:
    bool empty() const { return m_front == m_ends.size(); }
    std::size_t size() const { return m_ends.size() - m_front; }

    /// Appends one line. It ends at its first NUL byte, if it has one.
    void push(std::string_view line);

    /// The unwritten bytes of the first `lines` lines, or of all of them when there are fewer. Valid until
    /// the next push or consume.
    std::string_view front(std::size_t lines) const;
    /// Removes the first `bytes` bytes, a prefix of front(); a line that was written in part keeps its rest.
    /// Returns the number of lines that are now complete.
    std::size_t consume(std::size_t bytes);

private:
    void clear();
    void dropWritten();

    std::string m_text;
    std::vector<std::size_t> m_ends; // offsets in m_text
    std::size_t m_front = 0;         // index in m_ends of the first waiting line
    std::size_t m_written = 0;       // offset in m_text of the first unwritten byte
};
