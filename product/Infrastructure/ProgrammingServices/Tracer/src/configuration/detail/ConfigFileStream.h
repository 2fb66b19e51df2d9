#pragma once

#include <cstddef>
#include <string>

namespace kf::detail {

/// A configuration file as both languages read it: line by line.
class ConfigFileStream {
public:
    /// Reads the file. When that fails, warns on standard error: "Warning: cannot open <kind> configuration
    /// file "<name>"", and supplies an empty text. A file that is there and refused (see SmallFile.h) is told in a
    /// second line.
    ConfigFileStream(const char* kind, const char* fileName);

    /// Reads one line, or a piece of it when it is longer than `maximum` bytes.
    /// DELIBERATE: a line that the end of the file cuts short counts as the end: 0 bytes.
    void readLine(char* buffer, int& count, int maximum);

private:
    std::string m_text;
    std::size_t m_next = 0;
};

} // namespace kf::detail
