#pragma once

#include "LargeBuffer.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <string_view>

/// Finished lines that wait to be written: their bytes one behind the other in a few large chunks, and where
/// each of them ends. A line brings its own "\n", and may hold others; it never crosses chunks. Waiting costs
/// a line its bytes and four more.
///
/// Lines are put together where they stay: nothing is copied between the first chunk and the file.
///
/// Not thread-safe: the owner's lock guards it.
class LineQueue {
public:
    LineQueue() = default;
    LineQueue(const LineQueue&) = delete;
    LineQueue& operator=(const LineQueue&) = delete;

    bool empty() const { return m_lines == 0; }
    std::size_t size() const { return m_lines; }

    /// Appends one line. It ends at its first NUL byte, if it has one.
    void push(std::string_view line);
    /// Begins a line: where its bytes go, at most `room` of them, none of them NUL. One that was begun and
    /// not ended is forgotten.
    char* beginLine(std::size_t room) {
        if (m_room <= room)
            addChunk(room);
        return m_next;
    }
    /// Ends the line that was begun, behind its last byte.
    void endLine(const char* end) {
        const std::size_t length = static_cast<std::size_t>(end - m_next);
        m_next += length;
        *--m_end = static_cast<std::uint32_t>(m_next - m_text);
        m_room -= m_room < length + sizeof *m_end ? m_room : length + sizeof *m_end;
        ++m_lines;
    }

    /// The line that was begun, so far.
    std::string_view lineInProgress(const char* end) const {
        return {m_next, static_cast<std::size_t>(end - m_next)};
    }

    /// The unwritten bytes of the first lines, `lines` of them at most; fewer where a chunk ends, but always
    /// some, unless none waits. Valid until the next push or consume.
    std::string_view front(std::size_t lines) const;
    /// Removes the first `bytes` bytes, a prefix of front(); a line that was written in part keeps its rest.
    /// Returns the number of lines that are now complete.
    std::size_t consume(std::size_t bytes);

    /// Gives memory back, to be called after a drain: what was not needed since the last call goes by halves.
    void trim();
    /// The memory that it has at present.
    std::size_t bytes() const;

private:
    /// Text grows from the front of the memory, the ends of the lines (offsets) from its back.
    class Chunk {
    public:
        /// @param bytes  a multiple of an end's size
        explicit Chunk(std::size_t bytes) : m_bytes(bytes), m_memory(makeLargeBuffer(bytes)) {}

        char* text() const { return m_memory.get(); }
        std::uint32_t* ends() const { return reinterpret_cast<std::uint32_t*>(text() + m_bytes); }
        std::size_t bytes() const { return m_bytes; }
        std::size_t end(std::size_t line) const { return *(ends() - 1 - line); }

        std::size_t lines = 0;   // how many end in it; known once the next chunk is begun
        std::size_t front = 0;   // the first waiting one
        std::size_t written = 0; // offset of the first unwritten byte

    private:
        std::size_t m_bytes;
        LargeBuffer m_memory;
    };

    void addChunk(std::size_t room);
    void fill(Chunk& chunk);
    void dropLastChunk();
    std::size_t linesIn(const Chunk& chunk) const;

    std::size_t m_lines = 0;
    // The rest of the last chunk, where lines are put together.
    char* m_text = nullptr;         // its first byte
    char* m_next = nullptr;         // its first free byte
    std::uint32_t* m_end = nullptr; // the end of its last line
    std::size_t m_room = 0;         // what a line may have of it

    std::list<Chunk> m_chunks; // of waiting lines; all but the last are complete
    std::list<Chunk> m_spare;
    // Since the last trim: the chunks that were begun, and whether the last one was more than the smallest.
    std::size_t m_begun = 0;
    bool m_lastWasNeeded = false;
};
