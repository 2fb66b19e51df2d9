#pragma once

#include <cstdio>
#include <memory>

/// A configuration file as both languages read it: line by line.
class ConfigFileStream {
public:
    /// Opens the file. When that fails, warns on standard error: "Warning: cannot open <kind> configuration
    /// file "<name>"", and supplies an empty text.
    ConfigFileStream(const char* kind, const char* fileName);

    /// Reads one line, or a piece of it when it is longer than `maximum` bytes.
    /// DELIBERATE: a line that the end of the file cuts short counts as the end: 0 bytes.
    void readLine(char* buffer, int& count, int maximum);

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, CloseFile> m_file;
};
