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

/// A constant text; the same literal gives the same object for the life of the process. Never to be released,
/// though an unneeded CFRelease does no harm. `literal` is ASCII or UTF-8.
#define CFSTR(literal) LinuxPlatform::constantString("" literal "")
namespace LinuxPlatform {
CFStringRef constantString(const char* literal);
}

/// NULL when the bytes are not valid in the encoding, or the encoding is not known. Bytes above 0x7F read as
/// ASCII stand for the Unicode character of that number.
CF_EXPORT CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text,
                                                CFStringEncoding encoding);
/// As above, for a counted run of bytes that may hold zeros. An external representation may begin with a byte
/// order mark, which is then obeyed and dropped.
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

/// Encodes the units of `range` into `buffer`, whole characters only, until a character does not fit into the
/// encoding (then `lossByte` takes its place, or, when that is 0, the conversion stops) or into the
/// `maxBufLen` bytes. With a NULL buffer nothing is stored and no length limits. Returns the number of units
/// converted; the bytes made go to `usedBufLen` unless NULL. An external representation begins with a byte
/// order mark where the encoding has one.
CF_EXPORT CFIndex CFStringGetBytes(CFStringRef text, CFRange range, CFStringEncoding encoding, UInt8 lossByte,
                                   Boolean isExternalRepresentation, UInt8* buffer, CFIndex maxBufLen,
                                   CFIndex* usedBufLen);
/// The whole text and its final zero byte; FALSE when it does not fit or cannot be represented.
CF_EXPORT Boolean CFStringGetCString(CFStringRef text, char* buffer, CFIndex bufferSize,
                                     CFStringEncoding encoding);
/// Most bytes that `length` units can need.
CF_EXPORT CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);

/// By unit values; kCFCompareCaseInsensitive folds the letters of ASCII and Latin-1.
CF_EXPORT CFComparisonResult CFStringCompare(CFStringRef text1, CFStringRef text2,
                                             CFStringCompareFlags options);

/// Foundation's numbers of encodings (1 ASCII, 4 UTF-8, 5 ISO Latin-1, ...; 0x80000000 + n for those that
/// have none).
CF_EXPORT CFStringEncoding CFStringConvertNSStringEncodingToEncoding(unsigned long encoding);
CF_EXPORT unsigned long CFStringConvertEncodingToNSStringEncoding(CFStringEncoding encoding);
CF_EXPORT Boolean CFStringIsEncodingAvailable(CFStringEncoding encoding);
CF_EXPORT CFStringEncoding CFStringGetSystemEncoding(void);
