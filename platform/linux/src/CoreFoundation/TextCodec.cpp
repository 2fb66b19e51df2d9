#include "TextCodec.h"

#include <algorithm>
#include <cerrno>
#include <iconv.h>
#include <limits>
#include <mutex>

namespace LinuxPlatform {
namespace {

#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
const bool LITTLE_ENDIAN_HOST = true;
#define HOST_UTF16 "UTF-16LE"
#define HOST_UTF32 "UTF-32LE"
#else
const bool LITTLE_ENDIAN_HOST = false;
#define HOST_UTF16 "UTF-16BE"
#define HOST_UTF32 "UTF-32BE"
#endif

/// Foundation's number of an encoding without a small one: this bit and CoreFoundation's number.
const unsigned long FOUNDATION_FLAG = 0x80000000UL;

const TextEncoding ENCODINGS[] = {
    {kCFStringEncodingASCII, 1, "ASCII", 1},
    {kCFStringEncodingUTF8, 4, "UTF-8", 3},
    {kCFStringEncodingISOLatin1, 5, "ISO-8859-1", 1},
    {kCFStringEncodingUTF16, 10, HOST_UTF16, 2},
    {kCFStringEncodingWindowsLatin1, 12, "CP1252", 1},
    {kCFStringEncodingMacRoman, 30, "MACINTOSH", 1},
    {kCFStringEncodingUTF16BE, FOUNDATION_FLAG | kCFStringEncodingUTF16BE, "UTF-16BE", 2},
    {kCFStringEncodingUTF16LE, FOUNDATION_FLAG | kCFStringEncodingUTF16LE, "UTF-16LE", 2},
    {kCFStringEncodingUTF32, FOUNDATION_FLAG | kCFStringEncodingUTF32, HOST_UTF32, 4},
    {kCFStringEncodingUTF32BE, FOUNDATION_FLAG | kCFStringEncodingUTF32BE, "UTF-32BE", 4},
    {kCFStringEncodingUTF32LE, FOUNDATION_FLAG | kCFStringEncodingUTF32LE, "UTF-32LE", 4},
};

/// An open conversion of iconv(3).
class Converter {
public:
    Converter(const char* to, const char* from) {
        const std::lock_guard<std::mutex> lock(ms_openAndClose);
        m_handle = iconv_open(to, from);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() {
        const std::lock_guard<std::mutex> lock(ms_openAndClose);
        if (isOpen())
            iconv_close(m_handle);
    }

    bool isOpen() const { return m_handle != closed(); }

    /// Converts as much as possible. `input` becomes what is left; returns 0 or iconv's errno.
    int convert(std::string_view& input, char*& output, std::size_t& outputRoom) {
        // iconv does not write to its input; only its C signature lacks the const.
        char* from = const_cast<char*>(input.data());
        std::size_t left = input.size();
        const std::size_t result = iconv(m_handle, &from, &left, &output, &outputRoom);
        const int error = result == static_cast<std::size_t>(-1) ? errno : 0;
        input = std::string_view(from, left);
        return error;
    }

private:
    static iconv_t closed() { return reinterpret_cast<iconv_t>(-1); }

    // The C library loads and unloads its conversion modules under a lock of its own, which the thread
    // sanitizer does not know.
    static std::mutex ms_openAndClose;

    iconv_t m_handle;
};

std::mutex Converter::ms_openAndClose;

bool isAscii(std::string_view bytes) {
    return std::all_of(
        bytes.begin(), bytes.end(), [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

std::u16string widen(std::string_view bytes) {
    std::u16string units;
    units.reserve(bytes.size());
    for (const char byte : bytes)
        units += static_cast<char16_t>(static_cast<unsigned char>(byte));
    return units;
}

/// Removes a byte order mark; returns the iconv name for the rest, which the mark may change.
const char* takeByteOrderMark(std::string_view& bytes, const TextEncoding& encoding) {
    struct Mark {
        CFStringEncoding encoding;
        std::string_view bytes;
        const char* iconvName;
    };
    static const Mark MARKS[] = {
        {kCFStringEncodingUTF8, std::string_view("\xEF\xBB\xBF", 3), "UTF-8"},
        {kCFStringEncodingUTF16, std::string_view("\xFF\xFE", 2), "UTF-16LE"},
        {kCFStringEncodingUTF16, std::string_view("\xFE\xFF", 2), "UTF-16BE"},
        {kCFStringEncodingUTF32, std::string_view("\xFF\xFE\0\0", 4), "UTF-32LE"},
        {kCFStringEncodingUTF32, std::string_view("\0\0\xFE\xFF", 4), "UTF-32BE"},
    };
    for (const Mark& mark : MARKS) {
        if (mark.encoding == encoding.number && bytes.substr(0, mark.bytes.size()) == mark.bytes) {
            bytes.remove_prefix(mark.bytes.size());
            return mark.iconvName;
        }
    }
    return encoding.iconvName;
}

std::optional<std::u16string> convert(std::string_view bytes, const char* iconvName) {
    Converter converter(HOST_UTF16, iconvName);
    if (!converter.isOpen())
        return std::nullopt;
    // No encoding here makes more than one unit of one byte.
    std::u16string units(bytes.size(), u'\0');
    char* output = reinterpret_cast<char*>(units.data());
    std::size_t room = units.size() * sizeof(char16_t);
    if (converter.convert(bytes, output, room) != 0)
        return std::nullopt;
    units.resize(units.size() - room / sizeof(char16_t));
    return units;
}

bool isHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool isLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

std::size_t firstCharacterLength(std::u16string_view units) {
    return units.size() > 1 && isHighSurrogate(units[0]) && isLowSurrogate(units[1]) ? 2 : 1;
}

bool isPlain(CFStringEncoding encoding) {
    return encoding == kCFStringEncodingASCII || encoding == kCFStringEncodingISOLatin1 ||
           encoding == kCFStringEncodingUTF8;
}

std::string_view bytesOf(std::u16string_view units) {
    return {reinterpret_cast<const char*>(units.data()), units.size() * sizeof(char16_t)};
}

/// Copies leading ASCII characters, which are the same in the plain encodings.
void encodeAsciiPrefix(std::u16string_view units, std::size_t maxBytes, EncodedText& result) {
    while (result.unitsRead < units.size() && units[result.unitsRead] < 0x80 &&
           result.bytes.size() < maxBytes)
        result.bytes += static_cast<char>(units[result.unitsRead++]);
}

void encodeByIconv(std::u16string_view units, const TextEncoding& encoding, UInt8 lossByte,
                   std::size_t maxBytes, EncodedText& result) {
    Converter converter(encoding.iconvName, HOST_UTF16);
    if (!converter.isOpen())
        return;
    while (result.unitsRead < units.size()) {
        const std::u16string_view rest = units.substr(result.unitsRead);
        const std::size_t start = result.bytes.size();
        const auto bytesPerUnit = static_cast<std::size_t>(encoding.bytesPerUnit);
        const std::size_t room = std::min(maxBytes - start, rest.size() * bytesPerUnit);
        result.bytes.resize(start + room);
        std::string_view input = bytesOf(rest);
        char* output = result.bytes.data() + start;
        std::size_t roomLeft = room;
        const int error = converter.convert(input, output, roomLeft);
        result.bytes.resize(start + room - roomLeft);
        result.unitsRead = units.size() - input.size() / sizeof(char16_t);
        // The rest begins with a character that the encoding lacks (or half of one), or the buffer is full.
        if (error == 0 || error == E2BIG || lossByte == 0 || result.bytes.size() >= maxBytes)
            return;
        result.bytes += static_cast<char>(lossByte);
        result.unitsRead += firstCharacterLength(units.substr(result.unitsRead));
    }
}

void appendByteOrderMark(CFStringEncoding encoding, std::size_t maxBytes, EncodedText& result) {
    std::string mark;
    if (encoding == kCFStringEncodingUTF16)
        mark = LITTLE_ENDIAN_HOST ? "\xFF\xFE" : "\xFE\xFF";
    else if (encoding == kCFStringEncodingUTF32)
        mark = LITTLE_ENDIAN_HOST ? std::string("\xFF\xFE\0\0", 4) : std::string("\0\0\xFE\xFF", 4);
    if (mark.size() <= maxBytes)
        result.bytes += mark;
}

/// Null if no row of the table matches.
template <typename Matches>
const TextEncoding* findRow(Matches matches) {
    const auto* found = std::find_if(std::begin(ENCODINGS), std::end(ENCODINGS), matches);
    return found == std::end(ENCODINGS) ? nullptr : found;
}

} // namespace

const TextEncoding* findEncoding(CFStringEncoding number) {
    return findRow([number](const TextEncoding& row) { return row.number == number; });
}

const TextEncoding* findFoundationEncoding(unsigned long number) {
    return findRow([number](const TextEncoding& row) { return row.foundationNumber == number; });
}

std::optional<std::u16string> decodeText(std::string_view bytes, CFStringEncoding encoding, bool external) {
    const TextEncoding* known = findEncoding(encoding);
    if (!known)
        return std::nullopt;
    // macOS reads an "ASCII" byte above 0x7F as the Unicode character of that number, which is ISO Latin-1.
    if (encoding == kCFStringEncodingASCII || encoding == kCFStringEncodingISOLatin1)
        return widen(bytes);
    const char* iconvName = external ? takeByteOrderMark(bytes, *known) : known->iconvName;
    if (encoding == kCFStringEncodingUTF8 && isAscii(bytes))
        return widen(bytes);
    return convert(bytes, iconvName);
}

EncodedText encodeText(std::u16string_view units, CFStringEncoding encoding, UInt8 lossByte, bool external,
                       std::size_t maxBytes) {
    EncodedText result;
    const TextEncoding* known = findEncoding(encoding);
    if (!known)
        return result;
    if (external)
        appendByteOrderMark(encoding, maxBytes, result);
    if (isPlain(encoding))
        encodeAsciiPrefix(units, maxBytes, result);
    if (result.unitsRead < units.size() && result.bytes.size() < maxBytes)
        encodeByIconv(units, *known, lossByte, maxBytes, result);
    return result;
}

std::string toUtf8(std::u16string_view units) {
    return encodeText(units, kCFStringEncodingUTF8, '?', false, std::numeric_limits<std::size_t>::max())
        .bytes;
}

} // namespace LinuxPlatform
