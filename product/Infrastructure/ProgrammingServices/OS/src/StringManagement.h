#pragma once

#include <string>
#include <vector>

// Case folding, splitting, and conversions between narrow and wide text. Wide text holds one UTF-32 code
// point per unit. Nothing here throws; a text that cannot be converted completely gives an empty text.
//
// Thread: any, except for split(). The conversions from and to NSString are in MAC/NSStringManagement.h.
namespace StringManagement {

/// Encodings of narrow text. Every other value means ASCII.
enum enEncoding : int {
    ENCODING_ISO_LATIN_1 = 0,
    ENCODING_UTF_8 = 1,
    ENCODING_ASCII = 2,
};

/// Whether both texts are equal except for the case of their letters (strcasecmp: up to the first NUL byte).
bool compareNoCase(const std::string& a, const std::string& b);

/// A copy with each byte (each unit) in lower case, as the C library's locale defines it.
std::string toLower(const std::string& s);
std::wstring toWLower(const std::wstring& s);

/// The tokens of `s` between the delimiters, in order; a run of delimiters gives no empty token.
/// Modifies `s` in place, which is not null, and uses strtok's hidden state: one thread at a time.
std::vector<std::string> split(char* s, const char* delimiters);

/// The platform's number of an encoding: ISO Latin-1 5, UTF-8 4, everything else 1 (ASCII).
int encodingToCodePage(enEncoding e);

/// Decodes a narrow text, embedded NUL bytes included. Empty if the bytes are not valid in that encoding.
std::wstring stringToWString(const std::string& s, enEncoding e);

/// Encodes a wide text as a C string: it is cut at an embedded NUL. Empty if a unit is not a code point
/// (surrogates, beyond 0x10FFFF) or cannot be represented in that encoding.
std::string wStringToString(const std::wstring& w, enEncoding e);

/// The same text in another encoding: wStringToString(stringToWString(s, from), to).
std::string stringToStringWithEncoding(const std::string& s, enEncoding from, enEncoding to);

} // namespace StringManagement
