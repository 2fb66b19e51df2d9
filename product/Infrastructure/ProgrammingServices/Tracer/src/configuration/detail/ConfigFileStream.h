#pragma once

#include <cstddef>
#include <string>

namespace kf::detail {

/// A configuration file as both languages read it: line by line.
class ConfigFileStream {
public:
    /// Reads the file. If that fails, warns on standard error: "Warning: cannot open <kind> configuration
    /// file "<name>"", and supplies an empty text. If the file exists but is refused (see SmallFile.h), a
    /// second line says why.
    ConfigFileStream(const char* kind, const char* fileName);

    /// Reads one line, or a piece of it if it is longer than `maximum` bytes.
    /// DELIBERATE: a last line without "\n" counts as the end of the file: 0 bytes.
    void readLine(char* buffer, int& count, int maximum);

private:
    std::string m_text;
    std::size_t m_next = 0;
};

} // namespace kf::detail
