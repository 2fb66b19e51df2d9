#include "MAC/NSStringManagement.h"
#include "MAC/AutoreleaseScope.h"

#include <gtest/gtest.h>

#include <string>

using StringManagement::NSStringToWString;
using StringManagement::WStringToNSString;

namespace {

/// A text of one unit.
std::wstring unit(unsigned value) {
    return std::wstring(1, static_cast<wchar_t>(value));
}

class NSStringManagementTest : public testing::Test {
protected:
    /// Converts a text to an NSString and back.
    static std::wstring throughNSString(const std::wstring& text) {
        NSString* string = WStringToNSString(text);
        const std::wstring back = NSStringToWString(string);
        [string release];
        return back;
    }

    AutoreleaseScope m_pool;
};

} // namespace

TEST_F(NSStringManagementTest, PlainTextConvertsBothWays) {
    EXPECT_EQ(NSStringToWString(@"Quillmarsh"), L"Quillmarsh");
    NSString* string = WStringToNSString(L"Quillmarsh");
    EXPECT_TRUE([string isEqualToString:@"Quillmarsh"]);
    [string release];
}

TEST_F(NSStringManagementTest, EmptyTextConvertsBothWays) {
    EXPECT_EQ(NSStringToWString(@""), L"");
    NSString* string = WStringToNSString(L"");
    EXPECT_TRUE(string != nil);
    EXPECT_EQ([string length], 0u);
    [string release];
}

TEST_F(NSStringManagementTest, NilIsAnEmptyText) {
    EXPECT_EQ(NSStringToWString(nil), L"");
}

TEST_F(NSStringManagementTest, TextOfEveryLengthInUtf8ConvertsBothWays) {
    const std::wstring text = L"a" + unit(0xE9) + unit(0x20AC) + unit(0x1F511) + unit(0x10FFFF);
    NSString* string = WStringToNSString(text);
    EXPECT_STREQ("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x94\x91\xF4\x8F\xBF\xBF", [string UTF8String]);
    EXPECT_EQ([string length], 7u); // two pairs of surrogates
    EXPECT_EQ(NSStringToWString(string), text);
    [string release];
}

TEST_F(NSStringManagementTest, AnEmbeddedZeroIsKept) {
    EXPECT_EQ(throughNSString(std::wstring(L"a\0b", 3)), std::wstring(L"a\0b", 3));
}

TEST_F(NSStringManagementTest, AByteOrderMarkIsNeitherAddedNorRead) {
    EXPECT_EQ(throughNSString(L"a"), L"a");
    EXPECT_EQ(NSStringToWString(@"a").size(), 1u);
}

TEST_F(NSStringManagementTest, UnitsThatAreNoCodePointGiveNoText) {
    for (const unsigned value : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu})
        EXPECT_EQ(throughNSString(L"a" + unit(value)), L"") << std::hex << value;
}

TEST_F(NSStringManagementTest, AnUnpairedSurrogateOfAnNSStringGivesNoText) {
    const unichar lone = 0xD83D;
    EXPECT_EQ(NSStringToWString([NSString stringWithCharacters:&lone length:1]), L"");
}

TEST_F(NSStringManagementTest, TheCallerOwnsTheNewString) {
    NSString* string = WStringToNSString(L"a text that is long enough to be an object of its own");
    EXPECT_EQ([string retainCount], 1u);
    [string release];
}
