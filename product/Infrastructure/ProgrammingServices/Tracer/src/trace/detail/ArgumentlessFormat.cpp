#include "detail/ArgumentlessFormat.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace kf::detail {

namespace {

// More than the longest message, so that a longer one is still cut and marked.
constexpr std::size_t LIMIT = 20001;

constexpr char DIGITS[] = "0123456789";

/// Reads a width or a precision, and moves behind it: digits, or a "*" (or "*1$"), which stands for 0.
std::size_t readNumber(const char*& at) {
    const bool isStar = *at == '*';
    if (isStar)
        ++at;
    std::size_t number = 0;
    for (std::size_t left = std::strspn(at, DIGITS); left > 0; --left, ++at)
        number = std::min(LIMIT, number * 10 + static_cast<std::size_t>(*at - '0'));
    if (!isStar)
        return number;
    if (*at == '$')
        ++at;
    return 0;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
/// @param format  composed of checked pieces; takes one argument of exactly this type
template <typename Argument>
void appendFormatted(std::string& result, const std::string& format, Argument argument) {
    const int length = std::snprintf(nullptr, 0, format.c_str(), argument);
    if (length <= 0)
        return;
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::snprintf(text.data(), text.size(), format.c_str(), argument);
    result.append(text, 0, text.size() - 1);
}
#pragma GCC diagnostic pop

/// Appends what the conversion at this "%" prints, or the "%" itself if it begins none. Returns where to go
/// on.
const char* appendConversion(const char* percent, std::string& result) {
    const char* at = percent + 1;
    // "%1$5d" and "%5d" both begin with a number; only the first is a position.
    const std::size_t digits = std::strspn(at, DIGITS);
    if (digits > 0 && at[digits] == '$')
        at += digits + 1;
    std::string format = "%";
    for (; *at != '\0' && std::strchr("-+ #0'", *at) != nullptr; ++at)
        if (*at != '\'' && format.find(*at) == std::string::npos)
            format += *at;
    const std::size_t width = readNumber(at);
    if (width != 0)
        format += std::to_string(width);
    if (*at == '.')
        format += "." + std::to_string(readNumber(++at));
    at += std::strspn(at, "hlLqjzt");
    if (*at == '\0' || std::strchr("diouxXeEfFgGaAcCsSpn%", *at) == nullptr) {
        result += '%';
        return percent + 1;
    }
    format += *at;
    switch (*at) {
    case '%':
        result += '%';
        break;
    case 'n':
        break;
    case 'c': // An empty text instead of a NUL, which would end the message here.
    case 'C':
    case 's':
    case 'S':
        result.append(width, ' ');
        break;
    case 'd':
    case 'i':
    case 'o':
    case 'u':
    case 'x':
    case 'X':
        appendFormatted(result, format, 0);
        break;
    case 'p':
        appendFormatted(result, format, static_cast<const void*>(nullptr));
        break;
    default:
        appendFormatted(result, format, 0.0);
        break;
    }
    return at + 1;
}

} // namespace

std::string formatWithoutArguments(const std::string& format) {
    std::string result;
    for (const char* at = format.c_str(); *at != '\0' && result.size() < LIMIT;) {
        const std::size_t plain = std::strcspn(at, "%");
        result.append(at, std::min(plain, LIMIT));
        at += plain;
        if (*at == '%')
            at = appendConversion(at, result);
    }
    if (result.size() > LIMIT)
        result.resize(LIMIT);
    return result;
}

} // namespace kf::detail
