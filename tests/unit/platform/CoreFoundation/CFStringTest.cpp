#include "LiveObjects.h"

#include <CoreFoundation/CoreFoundation.h>

#include <string>

using CFString = LiveObjectsTest;

TEST_F(CFString, TheSameLiteralIsTheSameObject) {
    EXPECT_EQ(CFSTR("idVendor"), CFSTR("idVendor"));
    EXPECT_NE(CFSTR("idVendor"), CFSTR("idProduct"));
}

TEST_F(CFString, LengthCountsUtf16Units) {
    EXPECT_EQ(CFStringGetLength(CFSTR("")), 0);
    EXPECT_EQ(CFStringGetLength(CFSTR("modem")), 5);
    EXPECT_EQ(CFStringGetLength(CFSTR("gr\xC3\xBC\xC3\x9F")), 4);
    EXPECT_EQ(CFStringGetLength(CFSTR("\xF0\x9F\x93\xB6")), 2) << "a character outside of the first plane";
}

TEST_F(CFString, GivesItsUnits) {
    CFStringRef text = CFSTR("a\xF0\x9F\x93\xB6");
    EXPECT_EQ(CFStringGetCharacterAtIndex(text, 0), 'a');
    EXPECT_EQ(CFStringGetCharacterAtIndex(text, 1), 0xD83D);
    EXPECT_EQ(CFStringGetCharacterAtIndex(text, 2), 0xDCF6);
}

TEST_F(CFString, AnIndexOutsideIsReported) {
    EXPECT_NE(ComplaintsOf([] { EXPECT_EQ(CFStringGetCharacterAtIndex(CFSTR("a"), 1), 0); }), "");
    EXPECT_NE(ComplaintsOf([] { EXPECT_EQ(CFStringGetCharacterAtIndex(CFSTR("a"), -1), 0); }), "");
}

TEST_F(CFString, ACopyIsEqual) {
    CFStringRef text = CFStringCreateWithCString(kCFAllocatorDefault, "modem", kCFStringEncodingASCII);
    CFStringRef copy = CFStringCreateCopy(kCFAllocatorDefault, text);
    CFRelease(text);
    EXPECT_TRUE(CFEqual(copy, CFSTR("modem")));
    CFRelease(copy);
}

TEST_F(CFString, IsMadeOfUtf16Units) {
    const UniChar units[] = {'a', 0xD83D, 0xDCF6};
    CFStringRef text = CFStringCreateWithCharacters(kCFAllocatorDefault, units, 3);
    EXPECT_TRUE(CFEqual(text, CFSTR("a\xF0\x9F\x93\xB6")));
    CFRelease(text);
}

TEST_F(CFString, ComparesUnitByUnit) {
    EXPECT_EQ(CFStringCompare(CFSTR("a"), CFSTR("a"), 0), kCFCompareEqualTo);
    EXPECT_EQ(CFStringCompare(CFSTR("a"), CFSTR("b"), 0), kCFCompareLessThan);
    EXPECT_EQ(CFStringCompare(CFSTR("b"), CFSTR("a"), 0), kCFCompareGreaterThan);
    EXPECT_EQ(CFStringCompare(CFSTR("a"), CFSTR("ab"), 0), kCFCompareLessThan);
    EXPECT_EQ(CFStringCompare(CFSTR("A"), CFSTR("a"), 0), kCFCompareLessThan);
}

TEST_F(CFString, ComparesWithoutCaseWhenAsked) {
    EXPECT_EQ(CFStringCompare(CFSTR("Quillmarsh"), CFSTR("qUILLMARSH"), kCFCompareCaseInsensitive),
              kCFCompareEqualTo);
    EXPECT_EQ(CFStringCompare(CFSTR("\xC3\x84"), CFSTR("\xC3\xA4"), kCFCompareCaseInsensitive),
              kCFCompareEqualTo);
    EXPECT_EQ(CFStringCompare(CFSTR("a"), CFSTR("B"), kCFCompareCaseInsensitive), kCFCompareLessThan);
    EXPECT_NE(CFStringCompare(CFSTR("\xC3\x97"), CFSTR("\xC3\xB7"), kCFCompareCaseInsensitive),
              kCFCompareEqualTo)
        << "the signs of multiplication and division are no letters";
}

TEST_F(CFString, CStringNeedsRoomForItsFinalZero) {
    char buffer[8];
    EXPECT_TRUE(CFStringGetCString(CFSTR("modem"), buffer, 6, kCFStringEncodingUTF8));
    EXPECT_STREQ(buffer, "modem");
    EXPECT_FALSE(CFStringGetCString(CFSTR("modem"), buffer, 5, kCFStringEncodingUTF8));
    EXPECT_STREQ(buffer, "") << "nothing half-done is left behind";
    EXPECT_FALSE(CFStringGetCString(CFSTR("modem"), buffer, 0, kCFStringEncodingUTF8));
}

TEST_F(CFString, CStringFailsForWhatTheEncodingLacks) {
    char buffer[16];
    EXPECT_FALSE(
        CFStringGetCString(CFSTR("gr\xC3\xBC\xC3\x9F"), buffer, sizeof(buffer), kCFStringEncodingASCII));
    EXPECT_TRUE(
        CFStringGetCString(CFSTR("gr\xC3\xBC\xC3\x9F"), buffer, sizeof(buffer), kCFStringEncodingISOLatin1));
    EXPECT_STREQ(buffer, "gr\xFC\xDF");
    EXPECT_FALSE(CFStringGetCString(CFSTR("x"), buffer, sizeof(buffer), 0x7FFF)) << "no such encoding";
}
