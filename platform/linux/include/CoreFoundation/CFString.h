#pragma once

// Immutable texts. A text is a sequence of UTF-16 units; lengths and ranges count these units.

#include <CoreFoundation/CFBase.h>

#include <cstdarg>

typedef UInt32 CFStringEncoding;

#define kCFStringEncodingInvalidId (0xffffffffU)
enum CFStringBuiltInEncodings : CFStringEncoding {
    kCFStringEncodingMacRoman = 0,
    kCFStringEncodingWindowsLatin1 = 0x0500,
    kCFStringEncodingISOLatin1 = 0x0201,
    kCFStringEncodingASCII = 0x0600,
    kCFStringEncodingUnicode = 0x0100,
    kCFStringEncodingUTF8 = 0x08000100,
    kCFStringEncodingUTF16 = 0x0100,
    kCFStringEncodingUTF16BE = 0x10000100,
    kCFStringEncodingUTF16LE = 0x14000100,
    kCFStringEncodingUTF32 = 0x0c000100,
    kCFStringEncodingUTF32BE = 0x18000100,
    kCFStringEncodingUTF32LE = 0x1c000100
};

typedef CFOptionFlags CFStringCompareFlags;
enum : CFStringCompareFlags { kCFCompareCaseInsensitive = 1 };

CF_EXPORT CFTypeID CFStringGetTypeID(void);

/// A constant text; the same literal gives the same object for the life of the process. It need not be
/// released, though CFRelease does no harm. `literal` is ASCII or UTF-8.
#define CFSTR(literal) LinuxPlatform::constantString("" literal "")
namespace LinuxPlatform {
CFStringRef constantString(const char* literal);
}

/// NULL if the bytes are not valid in the encoding, or the encoding is unknown. ASCII bytes above 0x7F are
/// read as the Unicode characters of that number.
CF_EXPORT CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text,
                                                CFStringEncoding encoding);
/// As above, for a number of bytes that may include NULs. An external representation may begin with a byte
/// order mark, which is honoured and removed.
CF_EXPORT CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex numBytes,
                                              CFStringEncoding encoding, Boolean isExternalRepresentation);
CF_EXPORT CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator, const UniChar* units,
                                                   CFIndex count);
CF_EXPORT CFStringRef CFStringCreateCopy(CFAllocatorRef allocator, CFStringRef text);

/// printf's conversions, with `%@` for an object of this framework (borrowed; NULL prints "(null)").
/// Positional arguments are not supported; `%n` stores nothing. `formatOptions` is ignored, as on macOS.
CF_EXPORT CFStringRef CFStringCreateWithFormat(CFAllocatorRef allocator,
                                               const LinuxPlatform::Dictionary* formatOptions,
                                               CFStringRef format, ...);
CF_EXPORT CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef allocator,
                                                           const LinuxPlatform::Dictionary* formatOptions,
                                                           CFStringRef format, va_list arguments);

/// UTF-16 units.
CF_EXPORT CFIndex CFStringGetLength(CFStringRef text);
CF_EXPORT UniChar CFStringGetCharacterAtIndex(CFStringRef text, CFIndex index);

/// Encodes the units of `range` into `buffer`, whole characters only, until a character cannot be encoded
/// (then `lossByte` takes its place or, if that is 0, the conversion stops) or does not fit into the
/// `maxBufLen` bytes. With a NULL buffer nothing is stored and there is no limit. Returns the number of units
/// converted, and stores the number of bytes in `usedBufLen` unless that is NULL. An external representation
/// begins with a byte order mark if the encoding has one.
CF_EXPORT CFIndex CFStringGetBytes(CFStringRef text, CFRange range, CFStringEncoding encoding, UInt8 lossByte,
                                   Boolean isExternalRepresentation, UInt8* buffer, CFIndex maxBufLen,
                                   CFIndex* usedBufLen);
/// The complete text and its final NUL; FALSE if it does not fit or cannot be represented.
CF_EXPORT Boolean CFStringGetCString(CFStringRef text, char* buffer, CFIndex bufferSize,
                                     CFStringEncoding encoding);
/// The most bytes that `length` units can need.
CF_EXPORT CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);

/// By unit values; kCFCompareCaseInsensitive folds the letters of ASCII and Latin-1.
CF_EXPORT CFComparisonResult CFStringCompare(CFStringRef text1, CFStringRef text2,
                                             CFStringCompareFlags options);

/// Foundation's numbers of encodings (1 ASCII, 4 UTF-8, 5 ISO Latin-1, ...; 0x80000000 + n for those without
/// one).
CF_EXPORT CFStringEncoding CFStringConvertNSStringEncodingToEncoding(unsigned long encoding);
CF_EXPORT unsigned long CFStringConvertEncodingToNSStringEncoding(CFStringEncoding encoding);
CF_EXPORT Boolean CFStringIsEncodingAvailable(CFStringEncoding encoding);
CF_EXPORT CFStringEncoding CFStringGetSystemEncoding(void);
