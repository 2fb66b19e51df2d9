#include "TextFollower.h"

#include <algorithm>
#include <cstdio>
#include <memory>

namespace Zevo {

const std::string& TextFollower::text() {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(m_path.c_str(), "r"), &std::fclose);
    if (!file || std::fseek(file.get(), static_cast<long>(m_text.size()), SEEK_SET) != 0)
        return m_text;
    char buffer[1 << 16];
    for (std::size_t count; (count = std::fread(buffer, 1, sizeof buffer, file.get())) > 0;)
        m_text.append(buffer, count);
    return m_text;
}

bool TextFollower::waitFor(const std::string& awaited, std::chrono::milliseconds longest) {
    std::string::size_type searched = m_position;
    return waitUntil(
        [&] {
            const std::string::size_type found = text().find(awaited, searched);
            if (found == std::string::npos) {
                // Do not search the same bytes again, except for the beginning of the text at their end.
                const std::string::size_type overlap = std::min(m_text.size(), awaited.size());
                searched = std::max(searched, m_text.size() - overlap);
                return false;
            }
            m_position = found + awaited.size();
            return true;
        },
        longest);
}

void TextFollower::restart(const std::string& path) {
    m_path = path;
    m_text.clear();
    m_position = 0;
}

bool TextFollower::nextLine(std::string& line) {
    const std::string::size_type end = text().find('\n', m_position);
    if (end == std::string::npos)
        return false;
    line = m_text.substr(m_position, end - m_position);
    m_position = end + 1;
    return true;
}

int TextFollower::count(const std::string& wanted) {
    int result = 0;
    text();
    for (std::string::size_type at = m_text.find(wanted); at != std::string::npos;
         at = m_text.find(wanted, at + wanted.size()))
        ++result;
    return result;
}

} // namespace Zevo
