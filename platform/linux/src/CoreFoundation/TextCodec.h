#pragma once

// Conversions between texts and bytes, in the encodings that CFString names. The plain cases (ASCII, ISO
// Latin-1, and UTF-8 that is all ASCII) are copied; everything else goes through iconv(3), never with its
// transliterations.

#include <CoreFoundation/CFString.h>

#include <optional>
#include <string>
#include <string_view>

namespace LinuxPlatform {

struct TextEncoding {
    CFStringEncoding number;
    unsigned long foundationNumber;
    const char* iconvName;
    CFIndex bytesPerUnit; ///< most bytes that one UTF-16 unit can need
};

/// Null for an unknown encoding.
const TextEncoding* findEncoding(CFStringEncoding number);
const TextEncoding* findFoundationEncoding(unsigned long number);

/// Nothing if the bytes are not valid, or the encoding is unknown.
std::optional<std::u16string> decodeText(std::string_view bytes, CFStringEncoding encoding, bool external);

struct EncodedText {
    std::string bytes;
    std::size_t unitsRead = 0; ///< fewer than given if a character did not fit the encoding or the limit
};

/// Encodes whole characters of `units`, into at most `maxBytes` bytes. `lossByte` as for CFStringGetBytes.
EncodedText encodeText(std::u16string_view units, CFStringEncoding encoding, UInt8 lossByte, bool external,
                       std::size_t maxBytes);

/// The text in UTF-8; half a surrogate pair becomes '?'.
std::string toUtf8(std::u16string_view units);

} // namespace LinuxPlatform
