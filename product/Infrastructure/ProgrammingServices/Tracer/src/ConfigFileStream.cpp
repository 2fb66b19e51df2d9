#include "ConfigFileStream.h"

ConfigFileStream::ConfigFileStream(const char* kind, const char* fileName) {
    const char* const name = fileName != nullptr ? fileName : "";
    m_file.reset(std::fopen(name, "r"));
    if (m_file == nullptr)
        std::fprintf(stderr, "Warning: cannot open %s configuration file \"%s\"\n", kind, name);
}

// Not with fgets, which cannot tell how long a line with NUL bytes is.
void ConfigFileStream::readLine(char* buffer, int& count, int maximum) {
    count = 0;
    if (m_file == nullptr)
        return;
    while (count < maximum) {
        const int c = std::getc(m_file.get());
        if (c == EOF) {
            count = 0;
            return;
        }
        buffer[count++] = static_cast<char>(c);
        if (c == '\n')
            return;
    }
}
