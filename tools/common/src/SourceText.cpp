#include "SourceText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sys/stat.h>

namespace Zevo {
namespace {

std::string whyNot(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return errno == ENOENT ? "there is no such file"
                               : std::string("cannot be read: ") + std::strerror(errno);
    if (S_ISDIR(status.st_mode))
        return "is a folder, not a file";
    if (!S_ISREG(status.st_mode))
        return "is no ordinary file";
    return {};
}

} // namespace

SourceText::SourceText(const std::string& path, std::string shown) : m_shown(std::move(shown)) {
    m_whyUnreadable = whyNot(path);
    if (m_whyUnreadable.empty()) {
        std::ifstream file(path, std::ios::binary);
        m_bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        if (!file)
            m_whyUnreadable = std::string("cannot be read: ") + std::strerror(errno);
    }
    for (std::size_t start = 0; start < m_bytes.size();) {
        m_lineStarts.push_back(start);
        const std::size_t end = m_bytes.find('\n', start);
        start = end == std::string::npos ? m_bytes.size() : end + 1;
    }
}

std::string_view SourceText::line(int number) const {
    if (number < 1 || number > lineCount())
        return {};
    const std::size_t start = m_lineStarts[static_cast<std::size_t>(number) - 1];
    std::string_view text = std::string_view(m_bytes).substr(start);
    text = text.substr(0, text.find('\n'));
    if (!text.empty() && text.back() == '\r')
        text.remove_suffix(1);
    return text;
}

Place SourceText::wholeFile() const {
    Place place;
    place.file = m_shown;
    return place;
}

Place SourceText::at(int number, int column, int length) const {
    return {m_shown, number, column, std::max(1, length), std::string(line(number))};
}

Place SourceText::atLine(int number) const {
    const std::string_view text = line(number);
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return at(number, 1);
    const std::size_t last = text.find_last_not_of(" \t");
    return at(number, static_cast<int>(first) + 1, static_cast<int>(last - first) + 1);
}

Place SourceText::atText(int number, std::string_view text) const {
    const std::size_t found = line(number).find(text);
    if (found == std::string_view::npos || text.empty())
        return atLine(number);
    return at(number, static_cast<int>(found) + 1, static_cast<int>(text.size()));
}

int SourceText::lineOf(std::size_t offset) const {
    const auto next = std::upper_bound(m_lineStarts.begin(), m_lineStarts.end(), offset);
    // The text behind the last line feed is empty, and no line.
    return static_cast<int>(next - m_lineStarts.begin()) +
           (offset >= m_bytes.size() && endsWithLineFeed() ? 1 : 0);
}

Place SourceText::atOffset(std::size_t offset, int length) const {
    const int number = std::max(1, lineOf(offset));
    const std::size_t start =
        number <= lineCount() ? m_lineStarts[static_cast<std::size_t>(number) - 1] : m_bytes.size();
    return at(number, static_cast<int>(offset - start) + 1, length);
}

bool SourceText::hasByteOrderMark() const {
    return m_bytes.compare(0, 3, "\xEF\xBB\xBF") == 0;
}

std::string shownCharacter(char character) {
    if (character > ' ' && character <= '~')
        return std::string(1, character);
    switch (character) {
    case ' ':
        return "blank";
    case '\t':
        return "tab";
    case '\r':
        return "carriage return";
    default:
        return fmt::format("byte 0x{:02x}", static_cast<unsigned char>(character));
    }
}

} // namespace Zevo
