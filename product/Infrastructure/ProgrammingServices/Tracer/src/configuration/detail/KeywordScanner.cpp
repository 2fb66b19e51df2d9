#include "detail/KeywordScanner.h"

#include <algorithm>
#include <array>
#include <limits>

namespace kf::detail {

namespace {

// Letters of the language are ASCII, whatever the locale says.
char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isNameCharacter(char c) {
    const char letter = lower(c);
    return (letter >= 'a' && letter <= 'z') || isDigit(c) ||
           (c != '\0' && std::string_view("_*-./:").find(c) != std::string_view::npos);
}

bool beginsWithWord(std::string_view text, std::string_view word) {
    return text.size() >= word.size() &&
           std::equal(
               word.begin(), word.end(), text.begin(), [](char a, char b) { return lower(a) == lower(b); });
}

std::size_t lengthOfRun(std::string_view text, bool (*belongs)(char)) {
    return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), belongs) - text.begin());
}

std::int32_t numberOf(std::string_view digits) {
    constexpr std::int64_t largest = std::numeric_limits<std::int32_t>::max();
    std::int64_t number = 0;
    for (const char digit : digits)
        number = std::min(largest, number * 10 + (digit - '0'));
    return static_cast<std::int32_t>(number);
}

} // namespace

KeywordToken KeywordScanner::scan() {
    if (m_position == m_lineEnd && !readLine()) {
        KeywordToken end;
        end.line = m_line;
        return end;
    }
    if (m_text[m_position] == '\n') {
        m_mode = KeywordArgument::None;
        return token(KeywordToken::EndOfLine, 1);
    }
    if (const std::size_t filler = fillerLength())
        return token(KeywordToken::Filler, filler);
    return scanWord();
}

KeywordToken KeywordScanner::getToken() {
    KeywordToken token = scan();
    while (token.kind == KeywordToken::Filler)
        token = scan();
    return token;
}

bool KeywordScanner::readLine() {
    m_text.erase(0, m_lineEnd);
    m_position = 0;
    m_lineEnd = 0;
    std::array<char, 8192> buffer;
    std::size_t end = 0;
    while ((end = m_text.find('\n')) == std::string::npos) {
        int count = 0;
        readMoreData(buffer.data(), count, static_cast<int>(buffer.size()));
        if (count <= 0) {
            // DELIBERATE: a last line without "\n" is ignored.
            m_text.clear();
            return false;
        }
        m_text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    m_lineEnd = end + 1;
    ++m_line;
    return true;
}

// Makes a token of the next `length` characters and moves behind them.
KeywordToken KeywordScanner::token(KeywordToken::Kind kind, std::size_t length, std::int32_t value) {
    KeywordToken result;
    result.kind = kind;
    result.value = value;
    result.line = m_line;
    result.column = static_cast<int>(m_position) + 1;
    if (kind == KeywordToken::Name)
        result.text = m_text.substr(m_position, length);
    m_position += length;
    return result;
}

bool KeywordScanner::isBlank(std::size_t position) const {
    const char c = m_text[position];
    return c == ' ' || c == '\t' || (c == '\r' && m_text[position + 1] == '\n');
}

std::size_t KeywordScanner::fillerLength() const {
    if (m_position == 0 && m_text[0] == '#')
        return m_lineEnd - 1;
    std::size_t end = m_position;
    while (isBlank(end))
        ++end;
    return end - m_position;
}

KeywordToken KeywordScanner::scanWord() {
    const std::string_view rest =
        std::string_view(m_text).substr(m_position, m_lineEnd - 1 - m_position); // without the "\n"
    KeywordToken::Kind kind = KeywordToken::Stray;
    std::size_t length = 0;
    std::int32_t value = 0;
    for (std::size_t i = 0; i < m_language.statementCount; ++i) {
        const std::string_view keyword = m_language.statements[i].keyword;
        if (keyword.size() > length && beginsWithWord(rest, keyword)) {
            kind = KeywordToken::Statement;
            length = keyword.size();
            value = static_cast<std::int32_t>(i);
        }
    }
    if (m_mode == KeywordArgument::Levels) {
        for (std::size_t i = 0; i < m_language.levelCount; ++i) {
            const KeywordLevel& level = m_language.levels[i];
            if (level.word.size() > length && beginsWithWord(rest, level.word)) {
                kind = KeywordToken::Level;
                length = level.word.size();
                value = static_cast<std::int32_t>(level.bit);
            }
        }
    } else if (m_mode == KeywordArgument::Number) {
        const std::size_t digits = lengthOfRun(rest, isDigit);
        if (digits > length) {
            kind = KeywordToken::Number;
            length = digits;
            value = numberOf(rest.substr(0, digits));
        }
    } else if (m_mode != KeywordArgument::None) {
        const std::size_t characters = lengthOfRun(rest, isNameCharacter);
        if (characters > length) {
            kind = KeywordToken::Name;
            length = characters;
        }
    }
    if (kind == KeywordToken::Statement)
        m_mode = m_language.statements[value].argument;
    return token(kind, std::max<std::size_t>(length, 1), value);
}

} // namespace kf::detail
