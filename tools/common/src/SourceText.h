#pragma once

#include "Finding.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Zevo {

/// The bytes of a file, and positions in it. What the bytes mean, the product's readers decide.
class SourceText {
public:
    /// Reads the file. @param shown  the name that people are shown
    SourceText(const std::string& path, std::string shown);

    /// Empty if the file could be read; otherwise the reason, for people.
    const std::string& whyUnreadable() const { return m_whyUnreadable; }
    const std::string& bytes() const { return m_bytes; }
    const std::string& shownName() const { return m_shown; }

    int lineCount() const { return static_cast<int>(m_lineStarts.size()); }
    /// Without its line feed and the carriage return before it; empty behind the last line.
    std::string_view line(int number) const;
    /// The position of the whole file.
    Place wholeFile() const;
    Place at(int number, int column, int length = 1) const;
    /// The line without leading and trailing blanks.
    Place atLine(int number) const;
    /// The first position of this text in the line, or the whole line if it does not contain the text.
    Place atText(int number, std::string_view text) const;
    int lineOf(std::size_t offset) const;
    Place atOffset(std::size_t offset, int length = 1) const;

    bool hasByteOrderMark() const;
    bool endsWithLineFeed() const { return !m_bytes.empty() && m_bytes.back() == '\n'; }

private:
    std::string m_shown;
    std::string m_bytes;
    std::string m_whyUnreadable;
    std::vector<std::size_t> m_lineStarts;
};

/// A character as people can read it: x, or "byte 0xff".
std::string shownCharacter(char character);

} // namespace Zevo
