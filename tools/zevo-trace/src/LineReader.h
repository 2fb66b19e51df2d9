#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace Zevo {

/// Reads a file of any size line by line, and keeps only a few lines of it in memory. Owns the descriptor.
class LineReader {
public:
    /// A longer line is returned in parts of this size.
    static constexpr std::size_t LONGEST_LINE = std::size_t{1} << 20U;

    /// Throws std::runtime_error, with the path and the reason, if the file cannot be read. "-" is standard
    /// input.
    explicit LineReader(const std::string& path);
    /// Reads an open file, from its first byte on; `path` is its name in messages. One reader at a time: all
    /// of them share the file position. Null: as above.
    LineReader(const std::string& path, std::FILE* open);
    /// The same, from this byte on.
    LineReader(const std::string& path, std::uint64_t position);
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;
    ~LineReader();

    /// The next complete line without its line feed, valid until the next call; false at the present end. A
    /// later call returns what has been written since.
    bool next(std::string_view& line);
    /// After the last complete line: the rest without a line feed, once; false if there is none.
    bool takeRest(std::string_view& line);

    /// The number of bytes read from the file, including skipped ones.
    std::uint64_t position() const { return m_position; }
    /// The number of bytes returned so far.
    std::uint64_t handedOver() const { return m_position - (m_end - m_begin); }

private:
    bool readMore();

    std::string m_path;
    int m_file;
    std::vector<char> m_buffer;
    std::size_t m_begin = 0;   // of what was not returned yet
    std::size_t m_end = 0;     // of what was read
    std::size_t m_scanned = 0; // no line feed up to here
    std::uint64_t m_position = 0;
};

} // namespace Zevo
