#include "String.h"

#include "Diagnostics.h"
#include "TextCodec.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <mutex>
#include <unordered_map>

namespace LinuxPlatform {
namespace {

const std::size_t NO_LIMIT = std::numeric_limits<std::size_t>::max();

CFStringRef newString(std::u16string units) {
    return handOver(std::make_unique<String>(std::move(units)));
}

CFStringRef decoded(std::string_view bytes, CFStringEncoding encoding, bool external) {
    std::optional<std::u16string> units = decodeText(bytes, encoding, external);
    return units ? newString(std::move(*units)) : nullptr;
}

/// The texts of CFSTR, by their literals.
class ConstantTexts {
public:
    static ConstantTexts& get() {
        static ConstantTexts& texts = *new ConstantTexts;
        return texts;
    }

    CFStringRef text(const char* literal) {
        const std::lock_guard<std::mutex> lock(m_lock);
        std::unique_ptr<const String>& text = m_texts[literal];
        if (!text)
            text = std::make_unique<const String>(
                decodeText(literal, kCFStringEncodingUTF8, false).value_or(std::u16string()),
                Object::Life::Constant);
        return text.get();
    }

private:
    std::mutex m_lock;
    std::unordered_map<std::string, std::unique_ptr<const String>> m_texts;
};

/// Simple folding, enough for the keys and paths that are compared here.
char16_t foldCase(char16_t unit) {
    const bool isUpperAscii = unit >= u'A' && unit <= u'Z';
    const bool isUpperLatin1 = unit >= 0xC0 && unit <= 0xDE && unit != 0xD7;
    return isUpperAscii || isUpperLatin1 ? static_cast<char16_t>(unit + 0x20) : unit;
}

std::u16string folded(std::u16string units) {
    std::transform(units.begin(), units.end(), units.begin(), foldCase);
    return units;
}

bool isInside(CFRange range, const std::u16string& units) {
    const auto size = static_cast<CFIndex>(units.size());
    return range.location >= 0 && range.length >= 0 && range.location <= size &&
           range.length <= size - range.location;
}

} // namespace

CFStringRef constantString(const char* literal) {
    return ConstantTexts::get().text(literal);
}

CFStringRef makeString(std::string_view text) {
    if (CFStringRef fromUtf8 = decoded(text, kCFStringEncodingUTF8, false))
        return fromUtf8;
    return decoded(text, kCFStringEncodingISOLatin1, false);
}

std::string textOf(CFStringRef text) {
    return toUtf8(text->units());
}

} // namespace LinuxPlatform

using namespace LinuxPlatform;

CFTypeID CFStringGetTypeID() {
    return static_cast<CFTypeID>(TypeID::String);
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* text, CFStringEncoding encoding) {
    return text ? decoded(text, encoding, false) : nullptr;
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
    if (numBytes < 0 || (!bytes && numBytes > 0))
        return nullptr;
    const std::string_view view(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(numBytes));
    return decoded(view, encoding, isExternalRepresentation);
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar* units, CFIndex count) {
    return count < 0 ? nullptr : newString(std::u16string(units, units + count));
}

CFStringRef CFStringCreateCopy(CFAllocatorRef, CFStringRef text) {
    // Texts are immutable: one more reference is as good as a copy.
    return static_cast<CFStringRef>(CFRetain(text));
}

CFStringRef CFStringCreateWithFormat(CFAllocatorRef allocator, const Dictionary* formatOptions,
                                     CFStringRef format, ...) {
    va_list arguments;
    va_start(arguments, format);
    CFStringRef text = CFStringCreateWithFormatAndArguments(allocator, formatOptions, format, arguments);
    va_end(arguments);
    return text;
}

CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef, const Dictionary*, CFStringRef format,
                                                 va_list arguments) {
    return newString(formatText(format->units(), arguments));
}

CFIndex CFStringGetLength(CFStringRef text) {
    return static_cast<CFIndex>(text->units().size());
}

UniChar CFStringGetCharacterAtIndex(CFStringRef text, CFIndex index) {
    if (!isInside(CFRangeMake(index, 1), text->units())) {
        complain("CoreFoundation: index %ld is outside of a text of %ld units", index,
                 CFStringGetLength(text));
        return 0;
    }
    return text->units()[static_cast<std::size_t>(index)];
}

CFIndex CFStringGetBytes(CFStringRef text, CFRange range, CFStringEncoding encoding, UInt8 lossByte,
                         Boolean isExternalRepresentation, UInt8* buffer, CFIndex maxBufLen,
                         CFIndex* usedBufLen) {
    if (usedBufLen)
        *usedBufLen = 0;
    if (!isInside(range, text->units())) {
        complain("CoreFoundation: range %ld+%ld is outside of a text of %ld units", range.location,
                 range.length, CFStringGetLength(text));
        return 0;
    }
    const std::u16string_view units =
        std::u16string_view(text->units())
            .substr(static_cast<std::size_t>(range.location), static_cast<std::size_t>(range.length));
    const std::size_t limit = buffer ? static_cast<std::size_t>(std::max<CFIndex>(maxBufLen, 0)) : NO_LIMIT;
    const EncodedText encoded = encodeText(units, encoding, lossByte, isExternalRepresentation, limit);
    if (buffer && !encoded.bytes.empty())
        std::memcpy(buffer, encoded.bytes.data(), encoded.bytes.size());
    if (usedBufLen)
        *usedBufLen = static_cast<CFIndex>(encoded.bytes.size());
    return static_cast<CFIndex>(encoded.unitsRead);
}

Boolean CFStringGetCString(CFStringRef text, char* buffer, CFIndex bufferSize, CFStringEncoding encoding) {
    if (!buffer || bufferSize <= 0)
        return FALSE;
    const auto limit = static_cast<std::size_t>(bufferSize) - 1;
    const EncodedText encoded = encodeText(text->units(), encoding, 0, false, limit);
    buffer[0] = '\0';
    if (encoded.unitsRead < text->units().size() || !findEncoding(encoding))
        return FALSE;
    std::memcpy(buffer, encoded.bytes.c_str(), encoded.bytes.size() + 1);
    return TRUE;
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
    const TextEncoding* known = findEncoding(encoding);
    if (!known || length < 0 || length > std::numeric_limits<CFIndex>::max() / known->bytesPerUnit)
        return kCFNotFound;
    return length * known->bytesPerUnit;
}

CFComparisonResult CFStringCompare(CFStringRef text1, CFStringRef text2, CFStringCompareFlags options) {
    const bool foldCase = options & kCFCompareCaseInsensitive;
    const int order = foldCase ? folded(text1->units()).compare(folded(text2->units()))
                               : text1->units().compare(text2->units());
    if (order == 0)
        return kCFCompareEqualTo;
    return order < 0 ? kCFCompareLessThan : kCFCompareGreaterThan;
}

CFStringEncoding CFStringConvertNSStringEncodingToEncoding(unsigned long encoding) {
    const TextEncoding* known = findFoundationEncoding(encoding);
    return known ? known->number : kCFStringEncodingInvalidId;
}

unsigned long CFStringConvertEncodingToNSStringEncoding(CFStringEncoding encoding) {
    const TextEncoding* known = findEncoding(encoding);
    return known ? known->foundationNumber : kCFStringEncodingInvalidId;
}

Boolean CFStringIsEncodingAvailable(CFStringEncoding encoding) {
    return findEncoding(encoding) != nullptr;
}

CFStringEncoding CFStringGetSystemEncoding() {
    return kCFStringEncodingUTF8;
}
