#pragma once

#include "FileDescriptor.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

class DictionaryReadingObserver;

/// Reads a text line by line. The text outlives the cursor and its lines, or is read from a file block by
/// block, so that a large file needs no room of its own beside the tree that is made of it.
class LineCursor {
public:
    explicit LineCursor(std::string_view text) : m_rest(text) {}
    /// The text of a file, up to its first zero byte.
    /// @param file a pipe will do; one that is not open has failed
    explicit LineCursor(FileDescriptor file) : m_file(std::move(file)), m_failed(!m_file.isOpen()) {}

    /// The next line without its line feed; behind the end, empty lines without end. A file's line is there
    /// until the next one is asked for.
    std::string_view next() { return take(m_rest.find('\n')); }
    /// The same, and keeps a part of the line before: it moves to the room where the file has to be read on.
    std::string_view next(std::string_view& part, std::string& room) {
        const std::size_t length = m_rest.find('\n');
        if (length == std::string_view::npos)
            part = room.assign(part);
        return take(length);
    }

    /// Where the next line begins.
    std::size_t getPosition() const { return m_position; }
    /// Where the line that was asked for last began; 0 before the first.
    std::size_t getLinePosition() const { return m_linePosition; }
    /// Whom the reader of these lines tells about them; null: nobody.
    DictionaryReadingObserver* getObserver() const { return m_observer; }
    void setObserver(DictionaryReadingObserver* observer) { m_observer = observer; }
    /// All that is left, as one text.
    std::string takeRest();
    /// Passes over the rest. False when the file could not be read: the lines ended there.
    bool finish();

private:
    std::string_view take(std::size_t length) {
        m_linePosition = m_position;
        if (length == std::string_view::npos && !findInFile(length))
            return takeLast();
        const std::string_view line = m_rest.substr(0, length);
        m_rest.remove_prefix(length + 1);
        m_position += length + 1;
        return line;
    }
    std::string_view takeLast() {
        m_position += m_rest.size();
        return std::exchange(m_rest, m_rest.substr(m_rest.size()));
    }
    bool findInFile(std::size_t& length);
    bool readMore();
    void makeRoom();

    std::string_view m_rest;
    std::size_t m_position = 0;
    std::size_t m_linePosition = 0;
    FileDescriptor m_file;
    std::unique_ptr<char[]> m_buffer; // holds m_rest, where the text is a file's
    std::size_t m_capacity = 0;
    bool m_failed = false;
    DictionaryReadingObserver* m_observer = nullptr;
};
