#include "StringManagement.h"

#include "detail/CFOwned.h"

#include <cctype>
#include <cstring>
#include <cwctype>
#include <strings.h>

using namespace kf::detail;

namespace StringManagement {

namespace {

/// The units of a wide text are passed to the platform as UTF-32 bytes, as they are.
static_assert(sizeof(wchar_t) == 4, "wide text holds UTF-32");

constexpr CFStringEncoding WIDE_ENCODING = kCFStringEncodingUTF32LE;
static_assert(WIDE_ENCODING == 0x1C000100, "UTF-32, little endian");

CFStringEncoding platformEncoding(enEncoding e) {
    return CFStringConvertNSStringEncodingToEncoding(static_cast<unsigned>(encodingToCodePage(e)));
}

CFOwned<CFStringRef> decoded(const void* bytes, std::size_t count, CFStringEncoding encoding) {
    return CFOwned<CFStringRef>(CFStringCreateWithBytes(kCFAllocatorDefault, static_cast<const UInt8*>(bytes),
                                                        static_cast<CFIndex>(count), encoding, false));
}

/// The text in units of type Text; empty if any part of it cannot be represented.
template <class Text>
Text encoded(CFStringRef string, CFStringEncoding encoding) {
    using Unit = typename Text::value_type;
    const CFRange all = CFRangeMake(0, CFStringGetLength(string));
    CFIndex size = 0;
    if (CFStringGetBytes(string, all, encoding, 0, false, nullptr, 0, &size) != all.length)
        return Text();
    Text text(static_cast<std::size_t>(size) / sizeof(Unit), Unit());
    CFStringGetBytes(string, all, encoding, 0, false, reinterpret_cast<UInt8*>(&text[0]), size, nullptr);
    return text;
}

} // namespace

bool compareNoCase(const std::string& a, const std::string& b) {
    return strcasecmp(a.c_str(), b.c_str()) == 0;
}

std::string toLower(const std::string& s) {
    std::string lower(s);
    for (char& c : lower)
        c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    return lower;
}

std::wstring toWLower(const std::wstring& s) {
    std::wstring lower(s);
    for (wchar_t& c : lower)
        c = static_cast<wchar_t>(towlower(static_cast<wint_t>(c)));
    return lower;
}

std::vector<std::string> split(char* s, const char* delimiters) {
    std::vector<std::string> tokens;
    for (char* token = strtok(s, delimiters); token != nullptr; token = strtok(nullptr, delimiters))
        tokens.push_back(token);
    return tokens;
}

int encodingToCodePage(enEncoding e) {
    switch (e) {
    case ENCODING_ISO_LATIN_1:
        return 5;
    case ENCODING_UTF_8:
        return 4;
    default:
        return 1;
    }
}

std::wstring stringToWString(const std::string& s, enEncoding e) {
    const CFOwned<CFStringRef> string = decoded(s.data(), s.size(), platformEncoding(e));
    return string ? encoded<std::wstring>(string.get(), WIDE_ENCODING) : std::wstring();
}

std::string wStringToString(const std::wstring& w, enEncoding e) {
    const CFOwned<CFStringRef> string = decoded(w.data(), w.size() * sizeof(wchar_t), WIDE_ENCODING);
    if (!string)
        return std::string();
    const std::string text = encoded<std::string>(string.get(), platformEncoding(e));
    return text.substr(0, text.find('\0')); // the result is a C string
}

std::string stringToStringWithEncoding(const std::string& s, enEncoding from, enEncoding to) {
    return wStringToString(stringToWString(s, from), to);
}

} // namespace StringManagement
