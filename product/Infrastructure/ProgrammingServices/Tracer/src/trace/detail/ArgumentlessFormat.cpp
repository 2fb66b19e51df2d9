#include "detail/ArgumentlessFormat.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace kf::detail {

namespace {

// More than the longest message, so that a longer one is still cut and marked.
constexpr std::size_t LIMIT = 20001;

// Reads one conversion, which begins behind its "%", and writes what it prints.
class Conversion {
public:
    explicit Conversion(std::string_view text) : m_text(text) {}

    /// False when this is no conversion.
    bool read();
    /// The number of characters that it takes.
    std::size_t length() const { return m_position; }
    void appendTo(std::string& result) const;

private:
    bool atEnd() const { return m_position == m_text.size(); }
    bool skip(char c);
    std::size_t readNumber();
    std::size_t readNumberOrStar();
    void readFlags();
    void skipPosition();
    std::string singleFormat() const;
    template <typename Argument>
    void appendFormatted(std::string& result, Argument argument) const;

    std::string_view m_text;
    std::size_t m_position = 0;
    std::string m_flags;
    std::size_t m_width = 0;
    bool m_hasPrecision = false;
    std::size_t m_precision = 0;
    char m_kind = '\0';
};

bool Conversion::skip(char c) {
    if (atEnd() || m_text[m_position] != c)
        return false;
    ++m_position;
    return true;
}

std::size_t Conversion::readNumber() {
    std::size_t number = 0;
    for (; !atEnd() && m_text[m_position] >= '0' && m_text[m_position] <= '9'; ++m_position)
        number = std::min(LIMIT, number * 10 + static_cast<std::size_t>(m_text[m_position] - '0'));
    return number;
}

std::size_t Conversion::readNumberOrStar() {
    if (!skip('*'))
        return readNumber();
    readNumber(); // the position of a "*1$"
    skip('$');
    return 0;
}

void Conversion::readFlags() {
    while (!atEnd() && std::strchr("-+ #0'", m_text[m_position]) != nullptr) {
        const char flag = m_text[m_position++];
        if (flag != '\'' && m_flags.find(flag) == std::string::npos)
            m_flags += flag;
    }
}

// "%1$5d" and "%5d" both begin with a number; only the first is a position.
void Conversion::skipPosition() {
    const std::size_t begin = m_position;
    readNumber();
    if (m_position == begin || !skip('$'))
        m_position = begin;
}

bool Conversion::read() {
    skipPosition();
    readFlags();
    m_width = readNumberOrStar();
    if (skip('.')) {
        m_hasPrecision = true;
        m_precision = readNumberOrStar();
    }
    while (!atEnd() && std::strchr("hlLqjzt", m_text[m_position]) != nullptr)
        ++m_position;
    if (atEnd() || std::strchr("diouxXeEfFgGaAcCsSpn%", m_text[m_position]) == nullptr)
        return false;
    m_kind = m_text[m_position++];
    return true;
}

std::string Conversion::singleFormat() const {
    std::string text = "%" + m_flags;
    if (m_width != 0)
        text += std::to_string(m_width);
    if (m_hasPrecision)
        text += "." + std::to_string(m_precision);
    return text + m_kind;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
// The format was put together above from checked pieces, for one argument of this very type.
template <typename Argument>
void Conversion::appendFormatted(std::string& result, Argument argument) const {
    const std::string format = singleFormat();
    const int length = std::snprintf(nullptr, 0, format.c_str(), argument);
    if (length <= 0)
        return;
    const std::size_t begin = result.size();
    result.resize(begin + static_cast<std::size_t>(length) + 1);
    std::snprintf(&result[begin], static_cast<std::size_t>(length) + 1, format.c_str(), argument);
    result.pop_back();
}
#pragma GCC diagnostic pop

void Conversion::appendTo(std::string& result) const {
    switch (m_kind) {
    case '%':
        result += '%';
        break;
    case 'n':
        break;
    case 'c': // An empty text rather than a NUL, which would end the message here.
    case 'C':
    case 's':
    case 'S':
        result.append(m_width, ' ');
        break;
    case 'd':
    case 'i':
        appendFormatted(result, 0);
        break;
    case 'o':
    case 'u':
    case 'x':
    case 'X':
        appendFormatted(result, 0U);
        break;
    case 'p':
        appendFormatted(result, static_cast<const void*>(nullptr));
        break;
    default:
        appendFormatted(result, 0.0);
        break;
    }
}

} // namespace

std::string formatWithoutArguments(const std::string& format) {
    const std::string_view text(format.c_str());
    std::string result;
    for (std::size_t position = 0; position < text.size() && result.size() < LIMIT;) {
        const std::size_t percent = std::min(text.find('%', position), text.size());
        result += text.substr(position, std::min(percent - position, LIMIT));
        position = percent;
        if (position == text.size())
            break;
        ++position;
        Conversion conversion(text.substr(position));
        if (conversion.read()) {
            conversion.appendTo(result);
            position += conversion.length();
        } else {
            result += '%';
        }
    }
    if (result.size() > LIMIT)
        result.resize(LIMIT);
    return result;
}

} // namespace kf::detail
