#include "Pseudonyms.h"

#include "Suggestion.h"

#include <string_view>

namespace Zevo {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isHexadecimal(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isWordCharacter(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

// 01:23:45:67:89:ab
constexpr std::size_t ADDRESS_LENGTH = 17;

bool isAddressAt(std::string_view text, std::size_t at) {
    if (text.size() - at < ADDRESS_LENGTH)
        return false;
    for (std::size_t i = 0; i < ADDRESS_LENGTH; ++i) {
        const char c = text[at + i];
        if (i % 3 == 2 ? c != ':' : !isHexadecimal(c))
            return false;
    }
    return at + ADDRESS_LENGTH == text.size() || !isWordCharacter(text[at + ADDRESS_LENGTH]);
}

} // namespace

void Pseudonyms::addName(const std::string& name, const std::string& kind) {
    static constexpr std::size_t SHORTEST = 3;
    if (name.size() >= SHORTEST)
        m_names.push_back({name, kind});
}

const std::string& Pseudonyms::pseudonymOf(const std::string& text, const std::string& kind) {
    ++m_count;
    std::string& pseudonym = m_pseudonyms[text];
    if (pseudonym.empty())
        pseudonym = kind + "-" + std::to_string(++m_last[kind]);
    return pseudonym;
}

std::string Pseudonyms::replaceIn(const std::string& text) {
    return withoutNumbers(withoutSerials(withoutNames(text)));
}

std::string Pseudonyms::withoutNames(const std::string& text) {
    std::string result = text;
    for (const Name& name : m_names) {
        std::string next;
        std::size_t done = 0;
        for (std::size_t at = result.find(name.text); at != std::string::npos;
             at = result.find(name.text, at + 1)) {
            const std::size_t end = at + name.text.size();
            const bool isWord = (at == 0 || !isWordCharacter(result[at - 1])) &&
                                (end == result.size() || !isWordCharacter(result[end]));
            if (!isWord || at < done)
                continue;
            next.append(result, done, at - done).append(pseudonymOf(name.text, name.kind));
            done = end;
        }
        result = next.append(result, done, std::string::npos);
    }
    return result;
}

std::string Pseudonyms::withoutSerials(const std::string& text) {
    static constexpr std::string_view WORD = "serial";
    static constexpr std::size_t SHORTEST = 4;
    const std::string small = smallLetters(text);
    std::string result;
    std::size_t done = 0;
    for (std::size_t at = small.find(WORD); at != std::string::npos; at = small.find(WORD, at + 1)) {
        // "SerialNumber = 0123", "serial: 0123", "iSerial 3 0123" are the forms that programs write.
        std::size_t start = at + WORD.size();
        while (start < small.size() &&
               (isWordCharacter(small[start]) || small[start] == ' ' || small[start] == '"'))
            ++start;
        if (start >= small.size() || (small[start] != '=' && small[start] != ':'))
            continue;
        ++start;
        while (start < small.size() && (small[start] == ' ' || small[start] == '"'))
            ++start;
        std::size_t end = start;
        while (end < small.size() && (isWordCharacter(small[end]) || small[end] == '-'))
            ++end;
        if (end - start < SHORTEST || start < done)
            continue;
        result.append(text, done, start - done)
            .append(pseudonymOf(text.substr(start, end - start), "serial"));
        done = end;
    }
    return result.append(text, done, std::string::npos);
}

std::string Pseudonyms::withoutNumbers(const std::string& text) {
    static constexpr std::size_t FEWEST_DIGITS = 14;
    static constexpr std::size_t MOST_DIGITS = 20;
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const bool isWordStart = at == 0 || !isWordCharacter(text[at - 1]);
        if (isWordStart && isAddressAt(text, at)) {
            result += pseudonymOf(text.substr(at, ADDRESS_LENGTH), "address");
            at += ADDRESS_LENGTH;
            continue;
        }
        std::size_t end = at;
        while (end < text.size() && isDigit(text[end]))
            ++end;
        const std::size_t digits = end - at;
        const bool isNumber = digits >= FEWEST_DIGITS && digits <= MOST_DIGITS && isWordStart &&
                              (end == text.size() || !isWordCharacter(text[end]));
        if (isNumber) {
            result += pseudonymOf(text.substr(at, digits), "number");
        } else {
            end += digits == 0 ? 1 : 0;
            result.append(text, at, end - at);
        }
        at = end;
    }
    return result;
}

} // namespace Zevo
