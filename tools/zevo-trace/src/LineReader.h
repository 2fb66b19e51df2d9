#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace Zevo {

/// Reads a file of any size line by line, holding no more of it than a few lines. Owns the descriptor.
class LineReader {
public:
    /// A line that is longer is handed over in parts of this size.
    static constexpr std::size_t LONGEST_LINE = std::size_t{1} << 20U;

    /// Throws std::runtime_error, with the path and the reason, when the file cannot be read. "-" is standard
    /// input.
    explicit LineReader(const std::string& path);
    /// Reads a file that is open, from its first byte on; `path` is what it is called. One reader at a time: all read at
    /// the same place of the file. Null: as above.
    LineReader(const std::string& path, std::FILE* open);
    /// The same, from this byte on.
    LineReader(const std::string& path, std::uint64_t position);
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;
    ~LineReader();

    /// The next whole line without its line feed, valid until the next call; false at the end of what is there. Asked
    /// again, it sees what has been written since.
    bool next(std::string_view& line);
    /// Behind the last whole line: what stands there without a line feed, once; false when nothing does.
    bool takeRest(std::string_view& line);

    /// So many bytes were read from the file, the skipped ones included.
    std::uint64_t position() const { return m_position; }
    /// So many of them have been handed over.
    std::uint64_t handedOver() const { return m_position - (m_end - m_begin); }

private:
    bool readMore();

    std::string m_path;
    int m_file;
    std::vector<char> m_buffer;
    std::size_t m_begin = 0;   // of what was not handed over yet
    std::size_t m_end = 0;     // of what was read
    std::size_t m_scanned = 0; // up to here there is no line feed
    std::uint64_t m_position = 0;
};

} // namespace Zevo
