#include "StringManagement.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using namespace StringManagement;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> splitCopy(std::string text, const char* delimiters) {
    return split(&text[0], delimiters);
}

/// A text of one unit.
std::wstring unit(unsigned value) {
    return std::wstring(1, static_cast<wchar_t>(value));
}

const std::string LINE_WITH_ZERO("a\0b", 3);
const std::wstring WIDE_LINE_WITH_ZERO(L"a\0b", 3);
const std::wstring KEY_EMOJI = unit(0x1F511); // outside the basic plane
const std::string KEY_EMOJI_UTF_8 = "\xF0\x9F\x94\x91";

const enEncoding ALL_ENCODINGS[] = {ENCODING_ISO_LATIN_1, ENCODING_UTF_8, ENCODING_ASCII};

} // namespace

TEST(StringManagementTest, CompareNoCaseIgnoresTheCaseOfLetters) {
    EXPECT_TRUE(compareNoCase("USB#Vid_12d1&Pid_1001", "usb#vID_12D1&pID_1001"));
    EXPECT_FALSE(compareNoCase("USB#Vid_12d1", "USB#Vid_12d10"));
    EXPECT_FALSE(compareNoCase("a", "b"));
    EXPECT_TRUE(compareNoCase("", ""));
    EXPECT_FALSE(compareNoCase("", "a"));
}

TEST(StringManagementTest, CompareNoCaseEndsAtAZeroByte) {
    EXPECT_TRUE(compareNoCase(LINE_WITH_ZERO, "A"));
}

TEST(StringManagementTest, ToLowerChangesLettersOnly) {
    EXPECT_EQ(toLower("ABC-123_xyz[]"), "abc-123_xyz[]");
    EXPECT_EQ(toLower(""), "");
    EXPECT_EQ(toLower(std::string("A\0B", 3)), LINE_WITH_ZERO);
}

TEST(StringManagementTest, ToLowerPassesEveryByteThroughIncludingThoseAbove0x7F) {
    std::string all;
    for (int c = 0; c < 256; ++c)
        all += static_cast<char>(c);
    const std::string lower = toLower(all);
    ASSERT_EQ(lower.size(), all.size());
    for (size_t c = 0; c < all.size(); ++c)
        EXPECT_EQ(lower[c], static_cast<char>(tolower(static_cast<int>(c)))) << c;
}

TEST(StringManagementTest, ToWLowerChangesEachUnit) {
    EXPECT_EQ(toWLower(L"ABC-123"), L"abc-123");
    EXPECT_EQ(toWLower(L""), L"");
    EXPECT_EQ(toWLower(KEY_EMOJI), KEY_EMOJI);
}

TEST(StringManagementTest, SplittingAtCommasGivesNoEmptyTokens) {
    EXPECT_THAT(splitCopy(",,a,,b,", ","), ElementsAre("a", "b"));
}

TEST(StringManagementTest, SplitTakesEveryDelimiter) {
    EXPECT_THAT(splitCopy("4817|4097;x y", "|; "), ElementsAre("4817", "4097", "x", "y"));
}

TEST(StringManagementTest, SplittingATextOfDelimitersOnlyGivesNothing) {
    EXPECT_THAT(splitCopy("", ","), IsEmpty());
    EXPECT_THAT(splitCopy(",,,", ","), IsEmpty());
}

TEST(StringManagementTest, SplittingWithoutDelimitersGivesTheWholeText) {
    EXPECT_THAT(splitCopy("a,b", ""), ElementsAre("a,b"));
}

TEST(StringManagementTest, SplitModifiesTheTextInPlace) {
    char text[] = "a,b";
    EXPECT_THAT(split(text, ","), ElementsAre("a", "b"));
    EXPECT_EQ(text[1], '\0');
}

TEST(StringManagementTest, EncodingToCodePageGivesThePlatformsNumbers) {
    EXPECT_EQ(encodingToCodePage(ENCODING_ISO_LATIN_1), 5);
    EXPECT_EQ(encodingToCodePage(ENCODING_UTF_8), 4);
    EXPECT_EQ(encodingToCodePage(ENCODING_ASCII), 1);
    EXPECT_EQ(encodingToCodePage(static_cast<enEncoding>(0)), 5);
    EXPECT_EQ(encodingToCodePage(static_cast<enEncoding>(1)), 4);
}

TEST(StringManagementTest, EncodingToCodePageOfAnyOtherValueIsAscii) {
    EXPECT_EQ(encodingToCodePage(static_cast<enEncoding>(7)), 1);
    EXPECT_EQ(encodingToCodePage(static_cast<enEncoding>(-1)), 1);
}

TEST(StringManagementTest, PlainTextIsTheSameInEveryEncoding) {
    for (const enEncoding encoding : ALL_ENCODINGS) {
        EXPECT_EQ(stringToWString("Hello, world", encoding), L"Hello, world");
        EXPECT_EQ(wStringToString(L"Hello, world", encoding), "Hello, world");
        EXPECT_EQ(stringToWString("", encoding), L"");
        EXPECT_EQ(wStringToString(L"", encoding), "");
    }
}

TEST(StringManagementTest, AnUnknownEncodingIsReadAsAscii) {
    EXPECT_EQ(stringToWString("abc", static_cast<enEncoding>(99)), L"abc");
    EXPECT_EQ(wStringToString(L"abc", static_cast<enEncoding>(99)), "abc");
    EXPECT_EQ(wStringToString(L"\u00E9", static_cast<enEncoding>(99)), "");
}

TEST(StringManagementTest, Latin1BytesAreCodePoints) {
    std::string bytes;
    std::wstring wide;
    for (unsigned c = 1; c < 256; ++c) {
        bytes += static_cast<char>(c);
        wide += static_cast<wchar_t>(c);
    }
    EXPECT_EQ(stringToWString(bytes, ENCODING_ISO_LATIN_1), wide);
    EXPECT_EQ(wStringToString(wide, ENCODING_ISO_LATIN_1), bytes);
}

TEST(StringManagementTest, Utf8OfEveryLengthConvertsBothWays) {
    const std::wstring wide = L"a" + unit(0xE9) + unit(0x20AC) + KEY_EMOJI + unit(0x10FFFF);
    const std::string bytes = "a\xC3\xA9\xE2\x82\xAC" + KEY_EMOJI_UTF_8 + "\xF4\x8F\xBF\xBF";
    EXPECT_EQ(stringToWString(bytes, ENCODING_UTF_8), wide);
    EXPECT_EQ(wStringToString(wide, ENCODING_UTF_8), bytes);
}

TEST(StringManagementTest, ACharacterOutsideTheBasicPlaneIsOneWideUnit) {
    EXPECT_EQ(stringToWString(KEY_EMOJI_UTF_8, ENCODING_UTF_8).size(), 1u);
}

TEST(StringManagementTest, EveryCodePointSurvivesUtf8) {
    std::wstring wide;
    for (unsigned c = 1; c <= 0x10FFFF; c += c < 0x3000 ? 1 : 97)
        if (c < 0xD800 || c > 0xDFFF)
            wide += static_cast<wchar_t>(c);
    EXPECT_EQ(stringToWString(wStringToString(wide, ENCODING_UTF_8), ENCODING_UTF_8), wide);
}

TEST(StringManagementTest, ATextThatCannotBeRepresentedGivesAnEmptyResult) {
    EXPECT_EQ(wStringToString(L"price: " + unit(0x20AC), ENCODING_ISO_LATIN_1), "");
    EXPECT_EQ(wStringToString(L"key: " + KEY_EMOJI, ENCODING_ISO_LATIN_1), "");
    EXPECT_EQ(wStringToString(L"caf" + unit(0xE9), ENCODING_ASCII), "");
    EXPECT_EQ(wStringToString(KEY_EMOJI, ENCODING_ASCII), "");
}

TEST(StringManagementTest, InvalidUtf8GivesAnEmptyResult) {
    for (const char* bytes : {
             "\x80",             // a continuation byte without a leading one
             "a\xC3",            // cut short
             "\xE2\x82",         // cut short
             "\xC0\xAF",         // overlong
             "\xE0\x80\x80",     // overlong
             "\xED\xA0\x80",     // a surrogate
             "\xF4\x90\x80\x80", // beyond 0x10FFFF
             "\xF8\x88\x80\x80\x80",
             "\xFE",
             "\xFF",
             "good \xC3\x28 bad",
         })
        EXPECT_EQ(stringToWString(bytes, ENCODING_UTF_8), L"");
}

TEST(StringManagementTest, BytesAbove0x7FReadAsAsciiStandForTheirNumber) {
    EXPECT_EQ(stringToWString("caf\xE9", ENCODING_ASCII), L"caf" + unit(0xE9));
}

TEST(StringManagementTest, UnitsThatAreNoCodePointGiveAnEmptyResult) {
    for (const unsigned value : {0xD800u, 0xDBFFu, 0xDC00u, 0xDFFFu, 0x110000u, 0x7FFFFFFFu, 0xFFFFFFFFu})
        for (const enEncoding encoding : ALL_ENCODINGS)
            EXPECT_EQ(wStringToString(L"a" + unit(value) + L"b", encoding), "") << std::hex << value;
}

TEST(StringManagementTest, ASurrogatePairIsNoCharacterOfWideText) {
    EXPECT_EQ(wStringToString(unit(0xD83D) + unit(0xDD11), ENCODING_UTF_8), "");
}

TEST(StringManagementTest, AnEmbeddedZeroSurvivesInWideText) {
    for (const enEncoding encoding : ALL_ENCODINGS)
        EXPECT_EQ(stringToWString(LINE_WITH_ZERO, encoding), WIDE_LINE_WITH_ZERO);
}

// DELIBERATE: the result is made from a C string.
TEST(StringManagementTest, AnEmbeddedZeroEndsNarrowText) {
    for (const enEncoding encoding : ALL_ENCODINGS) {
        EXPECT_EQ(wStringToString(WIDE_LINE_WITH_ZERO, encoding), "a");
        EXPECT_EQ(wStringToString(std::wstring(L"\0b", 2), encoding), "");
    }
}

TEST(StringManagementTest, AByteOrderMarkIsACharacterLikeAnyOther) {
    EXPECT_EQ(wStringToString(unit(0xFEFF) + L"a", ENCODING_UTF_8), "\xEF\xBB\xBF"
                                                                    "a");
    EXPECT_EQ(stringToWString("\xEF\xBB\xBF"
                              "a",
                              ENCODING_UTF_8),
              unit(0xFEFF) + L"a");
    EXPECT_EQ(wStringToString(unit(0xFFFE0000), ENCODING_UTF_8), "");
}

TEST(StringManagementTest, NarrowTextConvertsFromOneEncodingToAnother) {
    EXPECT_EQ(stringToStringWithEncoding("caf\xE9", ENCODING_ISO_LATIN_1, ENCODING_UTF_8), "caf\xC3\xA9");
    EXPECT_EQ(stringToStringWithEncoding("caf\xC3\xA9", ENCODING_UTF_8, ENCODING_ISO_LATIN_1), "caf\xE9");
    EXPECT_EQ(stringToStringWithEncoding("cafe", ENCODING_UTF_8, ENCODING_ASCII), "cafe");
    EXPECT_EQ(stringToStringWithEncoding("caf\xC3\xA9", ENCODING_UTF_8, ENCODING_ASCII), "");
    EXPECT_EQ(stringToStringWithEncoding("caf\xE9", ENCODING_UTF_8, ENCODING_ISO_LATIN_1), "");
    EXPECT_EQ(stringToStringWithEncoding(LINE_WITH_ZERO, ENCODING_UTF_8, ENCODING_ISO_LATIN_1), "a");
}

TEST(StringManagementTest, LongTextConvertsWhole) {
    std::wstring wide;
    for (int i = 0; i < 200000; ++i)
        wide += unit(0x20AC) + L"x" + KEY_EMOJI;
    EXPECT_EQ(stringToWString(wStringToString(wide, ENCODING_UTF_8), ENCODING_UTF_8), wide);
}

TEST(StringManagementTest, ThreadsConvertAtTheSameTime) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int n = 0; n < 200; ++n) {
                EXPECT_EQ(wStringToString(KEY_EMOJI, ENCODING_UTF_8), KEY_EMOJI_UTF_8);
                EXPECT_EQ(stringToWString("caf\xE9", ENCODING_ISO_LATIN_1), L"caf" + unit(0xE9));
                EXPECT_EQ(wStringToString(KEY_EMOJI, ENCODING_ASCII), "");
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}
