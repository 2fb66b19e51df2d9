#include "LiveObjects.h"

#include <CoreFoundation/CoreFoundation.h>

#include <limits>
#include <string>
#include <vector>

namespace {

class CFStringEncodings : public LiveObjectsTest {
protected:
    static CFStringRef Decode(const std::string& bytes, CFStringEncoding encoding, bool external = false) {
        return CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
                                       static_cast<CFIndex>(bytes.size()), encoding, external);
    }

    /// Decodes the bytes; returns the text as UTF-8, or "(invalid)".
    static std::string Utf8(const std::string& bytes, CFStringEncoding encoding, bool external = false) {
        CFStringRef text = Decode(bytes, encoding, external);
        if (!text)
            return "(invalid)";
        const std::string result = Encode(text, kCFStringEncodingUTF8).bytes;
        CFRelease(text);
        return result;
    }

    struct Encoded {
        std::string bytes;
        CFIndex units;
    };

    static Encoded Encode(CFStringRef text, CFStringEncoding encoding, UInt8 lossByte = 0,
                          bool external = false, CFIndex limit = 64) {
        std::vector<UInt8> buffer(64);
        CFIndex used = -1;
        const CFIndex units = CFStringGetBytes(text, CFRangeMake(0, CFStringGetLength(text)), encoding,
                                               lossByte, external, buffer.data(), limit, &used);
        return {std::string(buffer.begin(), buffer.begin() + used), units};
    }
};

const std::string SIGNAL_UTF8 = "\xF0\x9F\x93\xB6"; // U+1F4F6, outside the basic plane
const std::string SIGNAL_UTF32LE("\xF6\xF4\x01\x00", 4);

} // namespace

TEST_F(CFStringEncodings, AsciiBytesAbove7FAreReadAsLatin1) {
    EXPECT_EQ(Utf8("a\xFC", kCFStringEncodingASCII), "a\xC3\xBC");
}

TEST_F(CFStringEncodings, Latin1ReadsEveryByte) {
    EXPECT_EQ(Utf8("\x80\xFF", kCFStringEncodingISOLatin1), "\xC2\x80\xC3\xBF");
}

TEST_F(CFStringEncodings, Utf8ReadsAllPlanes) {
    EXPECT_EQ(Utf8("a\xC3\xBC\xE2\x82\xAC" + SIGNAL_UTF8, kCFStringEncodingUTF8),
              "a\xC3\xBC\xE2\x82\xAC" + SIGNAL_UTF8);
}

TEST_F(CFStringEncodings, InvalidUtf8GivesNoText) {
    EXPECT_EQ(Utf8("\xFC", kCFStringEncodingUTF8), "(invalid)") << "a Latin-1 letter";
    EXPECT_EQ(Utf8("\xC3", kCFStringEncodingUTF8), "(invalid)") << "half a character at the end";
    EXPECT_EQ(Utf8("\xC0\xAF", kCFStringEncodingUTF8), "(invalid)") << "longer than needed";
    EXPECT_EQ(Utf8("\xED\xA0\x80", kCFStringEncodingUTF8), "(invalid)") << "half a surrogate pair";
    EXPECT_EQ(Utf8("\xF4\x90\x80\x80", kCFStringEncodingUTF8), "(invalid)") << "beyond U+10FFFF";
}

TEST_F(CFStringEncodings, Utf32LEReadsAllPlanes) {
    EXPECT_EQ(Utf8(std::string("a\0\0\0", 4) + SIGNAL_UTF32LE, kCFStringEncodingUTF32LE), "a" + SIGNAL_UTF8);
}

TEST_F(CFStringEncodings, InvalidUtf32GivesNoText) {
    EXPECT_EQ(Utf8(std::string("a\0\0", 3), kCFStringEncodingUTF32LE), "(invalid)") << "three bytes";
    EXPECT_EQ(Utf8(std::string("\0\xD8\0\0", 4), kCFStringEncodingUTF32LE), "(invalid)")
        << "half a surrogate pair";
    EXPECT_EQ(Utf8(std::string("\0\0\x11\0", 4), kCFStringEncodingUTF32LE), "(invalid)") << "beyond U+10FFFF";
}

TEST_F(CFStringEncodings, Utf16ReadsBothByteOrders) {
    EXPECT_EQ(Utf8(std::string("\x3D\xD8\xF6\xDC", 4), kCFStringEncodingUTF16LE), SIGNAL_UTF8);
    EXPECT_EQ(Utf8(std::string("\xD8\x3D\xDC\xF6", 4), kCFStringEncodingUTF16BE), SIGNAL_UTF8);
}

TEST_F(CFStringEncodings, AByteOrderMarkIsObeyedAndDropped) {
    EXPECT_EQ(Utf8(std::string("\xFE\xFF\0a", 4), kCFStringEncodingUTF16, true), "a");
    EXPECT_EQ(Utf8(std::string("\xFF\xFE"
                               "a\0",
                               4),
                   kCFStringEncodingUTF16, true),
              "a");
    EXPECT_EQ(Utf8(std::string("\0\0\xFE\xFF\0\0\0a", 8), kCFStringEncodingUTF32, true), "a");
    EXPECT_EQ(Utf8("\xEF\xBB\xBF"
                   "a",
                   kCFStringEncodingUTF8, true),
              "a");
    EXPECT_EQ(Utf8("\xEF\xBB\xBF"
                   "a",
                   kCFStringEncodingUTF8, false),
              "\xEF\xBB\xBF"
              "a")
        << "inside a program it is a character";
}

TEST_F(CFStringEncodings, AnExternalTextBeginsWithAByteOrderMark) {
    CFStringRef text = CFSTR("a");
    const std::string marked = Encode(text, kCFStringEncodingUTF16, 0, true).bytes;
    EXPECT_EQ(marked.size(), 4U);
    EXPECT_EQ(Utf8(marked, kCFStringEncodingUTF16, true), "a");
    EXPECT_EQ(Encode(text, kCFStringEncodingUTF32, 0, true).bytes.size(), 8U);
    EXPECT_EQ(Encode(text, kCFStringEncodingUTF32LE, 0, true).bytes, std::string("a\0\0\0", 4))
        << "the order is known already";
    EXPECT_EQ(Encode(text, kCFStringEncodingUTF16, 0, false).bytes.size(), 2U);
}

TEST_F(CFStringEncodings, WritesUtf32LE) {
    const Encoded encoded = Encode(CFSTR("a\xF0\x9F\x93\xB6"), kCFStringEncodingUTF32LE);
    EXPECT_EQ(encoded.bytes, std::string("a\0\0\0", 4) + SIGNAL_UTF32LE);
    EXPECT_EQ(encoded.units, 3);
}

TEST_F(CFStringEncodings, StopsAtWhatTheEncodingLacks) {
    CFStringRef text = CFSTR("gr\xC3\xBC\xC3\x9F");
    const Encoded ascii = Encode(text, kCFStringEncodingASCII);
    EXPECT_EQ(ascii.bytes, "gr");
    EXPECT_EQ(ascii.units, 2);
    const Encoded latin1 = Encode(CFSTR("\xC3\xBC\xE2\x82\xAC!"), kCFStringEncodingISOLatin1);
    EXPECT_EQ(latin1.bytes, "\xFC");
    EXPECT_EQ(latin1.units, 1);
}

TEST_F(CFStringEncodings, TheLossByteStandsForWhatTheEncodingLacks) {
    const Encoded ascii = Encode(CFSTR("a\xC3\xBC"
                                       "b\xF0\x9F\x93\xB6"
                                       "c"),
                                 kCFStringEncodingASCII, '?');
    EXPECT_EQ(ascii.bytes, "a?b?c") << "one for each character, also for one of two units";
    EXPECT_EQ(ascii.units, 6);
}

TEST_F(CFStringEncodings, HalfASurrogatePairCannotBeRepresented) {
    const UniChar units[] = {'a', 0xD83D, 'b', 0xDCF6};
    CFStringRef text = CFStringCreateWithCharacters(kCFAllocatorDefault, units, 4);
    EXPECT_EQ(Encode(text, kCFStringEncodingUTF8).bytes, "a");
    EXPECT_EQ(Encode(text, kCFStringEncodingUTF8, '?').bytes, "a?b?");
    EXPECT_EQ(Encode(text, kCFStringEncodingUTF32LE).units, 1);
    CFRelease(text);
}

TEST_F(CFStringEncodings, OnlyWholeCharactersFitIntoALimit) {
    CFStringRef text = CFSTR("a\xC3\xBC"
                             "b");
    EXPECT_EQ(Encode(text, kCFStringEncodingUTF8, 0, false, 2).bytes, "a");
    EXPECT_EQ(Encode(text, kCFStringEncodingUTF8, 0, false, 2).units, 1);
    EXPECT_EQ(Encode(text, kCFStringEncodingUTF8, 0, false, 3).units, 2);
    EXPECT_EQ(Encode(CFSTR("\xF0\x9F\x93\xB6"), kCFStringEncodingUTF32LE, 0, false, 3).units, 0);
    EXPECT_EQ(Encode(text, kCFStringEncodingASCII, '?', false, 1).bytes, "a") << "no room for the loss byte";
}

TEST_F(CFStringEncodings, WithoutABufferTheBytesAreCounted) {
    CFIndex used = 0;
    EXPECT_EQ(CFStringGetBytes(CFSTR("gr\xC3\xBC\xC3\x9F"), CFRangeMake(0, 4), kCFStringEncodingUTF8, 0,
                               false, nullptr, 0, &used),
              4);
    EXPECT_EQ(used, 6);
}

TEST_F(CFStringEncodings, ARangeOfTheTextIsEncoded) {
    UInt8 buffer[8];
    CFIndex used = 0;
    EXPECT_EQ(CFStringGetBytes(CFSTR("modem"), CFRangeMake(1, 3), kCFStringEncodingUTF8, 0, false, buffer, 8,
                               &used),
              3);
    EXPECT_EQ(std::string(buffer, buffer + used), "ode");
}

TEST_F(CFStringEncodings, ARangeOutsideTheTextIsReported) {
    for (const CFRange range :
         {CFRangeMake(0, 6), CFRangeMake(6, 0), CFRangeMake(-1, 2), CFRangeMake(1, -1)}) {
        EXPECT_NE(ComplaintsOf([&] {
                      EXPECT_EQ(CFStringGetBytes(CFSTR("modem"), range, kCFStringEncodingUTF8, 0, false,
                                                 nullptr, 0, nullptr),
                                0);
                  }),
                  "");
    }
}

TEST_F(CFStringEncodings, AnUnknownEncodingGivesNothing) {
    EXPECT_EQ(Decode("a", 0x7FFF), nullptr);
    EXPECT_FALSE(CFStringIsEncodingAvailable(0x7FFF));
    EXPECT_TRUE(CFStringIsEncodingAvailable(kCFStringEncodingUTF32LE));
    EXPECT_EQ(Encode(CFSTR("a"), 0x7FFF).units, 0);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(1, 0x7FFF), kCFNotFound);
}

TEST_F(CFStringEncodings, MaximumSizeHoldsEveryText) {
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(2, kCFStringEncodingASCII), 2);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(2, kCFStringEncodingUTF8), 6);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(2, kCFStringEncodingUTF32LE), 8);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(std::numeric_limits<CFIndex>::max(), kCFStringEncodingUTF8),
              kCFNotFound);
}

TEST_F(CFStringEncodings, ConvertFromAndToFoundationsNumbers) {
    EXPECT_EQ(CFStringConvertNSStringEncodingToEncoding(1), 0x0600U);
    EXPECT_EQ(CFStringConvertNSStringEncodingToEncoding(4), 0x08000100U);
    EXPECT_EQ(CFStringConvertNSStringEncodingToEncoding(5), 0x0201U);
    EXPECT_EQ(CFStringConvertNSStringEncodingToEncoding(0x9C000100), 0x1C000100U);
    EXPECT_EQ(CFStringConvertNSStringEncodingToEncoding(77), kCFStringEncodingInvalidId);
    EXPECT_EQ(CFStringConvertEncodingToNSStringEncoding(0x1C000100), 0x9C000100UL);
    EXPECT_EQ(CFStringConvertEncodingToNSStringEncoding(0x0600), 1UL);
    EXPECT_EQ(CFStringConvertEncodingToNSStringEncoding(0x0201), 5UL);
}
