#include "detail/RegistryReading.h"

#include "LiveObjects.h"
#include "detail/CFOwned.h"

#include <gtest/gtest.h>

using namespace kf::detail;

namespace {

using RegistryReadingTest = LiveObjectsTest;

CFOwned<CFStringRef> makeText(const std::string& text) {
    return CFOwned<CFStringRef>(
        CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8));
}

CFOwned<CFNumberRef> makeNumber(long long number) {
    return CFOwned<CFNumberRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberLongLongType, &number));
}

TEST_F(RegistryReadingTest, AnAbsentNumberIsToldFromZero) {
    SInt32 value = 7;
    EXPECT_FALSE(readNumber(NULL, value));
    EXPECT_EQ(value, 7);
    EXPECT_TRUE(readNumber(makeNumber(0).get(), value));
    EXPECT_EQ(value, 0);
}

TEST_F(RegistryReadingTest, WhatIsNoNumberIsAbsent) {
    SInt32 value = 7;
    EXPECT_FALSE(readNumber(makeText("4817").get(), value));
    EXPECT_FALSE(readNumber(kCFBooleanTrue, value));
    EXPECT_EQ(value, 7);
}

TEST_F(RegistryReadingTest, NegativeNumbersKeepTheirSign) {
    SInt32 value = 0;
    EXPECT_TRUE(readNumber(makeNumber(-2).get(), value));
    EXPECT_EQ(value, -2);
}

TEST_F(RegistryReadingTest, AnAbsentTextIsToldFromAnEmptyOne) {
    std::string value = "before";
    EXPECT_FALSE(readText(NULL, value));
    EXPECT_EQ(value, "before");
    EXPECT_TRUE(readText(makeText("").get(), value));
    EXPECT_EQ(value, "");
}

TEST_F(RegistryReadingTest, WhatIsNoTextIsAbsent) {
    std::string value = "before";
    EXPECT_FALSE(readText(makeNumber(1).get(), value));
    EXPECT_EQ(value, "before");
}

TEST_F(RegistryReadingTest, TextsAreReadAsUtf8) {
    std::string value;
    EXPECT_TRUE(readText(makeText("Modem \xE2\x82\xAC \xF0\x9F\x93\xB6").get(), value));
    EXPECT_EQ(value, "Modem \xE2\x82\xAC \xF0\x9F\x93\xB6");
}

TEST_F(RegistryReadingTest, ATextIsCutBehindTheLastCharacterThatFitsInto255Bytes) {
    std::string value;
    EXPECT_TRUE(readText(makeText(std::string(255, 'x')).get(), value));
    EXPECT_EQ(value, std::string(255, 'x'));
    EXPECT_TRUE(readText(makeText(std::string(256, 'x')).get(), value));
    EXPECT_EQ(value, std::string(255, 'x'));
    EXPECT_TRUE(readText(makeText(std::string(252, 'x') + "\xF0\x9F\x93\xB6").get(), value));
    EXPECT_EQ(value, std::string(252, 'x'));
}

TEST_F(RegistryReadingTest, ATextThatUtf8CannotHoldIsAbsent) {
    const UniChar halfAPair[] = {'w', 0xD800, 'w'};
    const CFOwned<CFStringRef> text(CFStringCreateWithCharacters(kCFAllocatorDefault, halfAPair, 3));
    std::string value = "before";
    EXPECT_FALSE(readText(text.get(), value));
    EXPECT_EQ(value, "before");
}

} // namespace
