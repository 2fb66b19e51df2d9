#include "detail/ConfigFileStream.h"

#include "detail/SmallFile.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace kf::detail {

ConfigFileStream::ConfigFileStream(const char* kind, const char* fileName) {
    const char* const name = fileName != nullptr ? fileName : "";
    std::string refusal;
    if (SmallFile::read(name, SmallFile::CONFIGURATION_LIMIT, m_text, refusal))
        return;
    std::fprintf(stderr, "Warning: cannot open %s configuration file \"%s\"\n", kind, name);
    if (access(name, F_OK) == 0)
        std::fprintf(stderr, "\"%s\" is not read: %s\n", name, refusal.c_str());
}

void ConfigFileStream::readLine(char* buffer, int& count, int maximum) {
    const char* const begin = m_text.data() + m_next;
    const std::size_t most = static_cast<std::size_t>(maximum);
    std::size_t length = std::min(m_text.size() - m_next, most);
    const void* const end = std::memchr(begin, '\n', length);
    if (end != nullptr)
        length = static_cast<std::size_t>(static_cast<const char*>(end) - begin) + 1;
    m_next += length;
    if (end == nullptr && length < most)
        length = 0; // a last line without "\n"
    std::memcpy(buffer, begin, length);
    count = static_cast<int>(length);
}

} // namespace kf::detail
