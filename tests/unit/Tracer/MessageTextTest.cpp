#include "detail/MessageText.h"

#include "DecimalComma.h"

#include <cwchar>
#include <gtest/gtest.h>

using namespace kf::detail;

namespace {

std::string text(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string text(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const MessageText message(format, arguments);
    va_end(arguments);
    return std::string(message.view());
}

std::string numbered(std::size_t length) {
    std::string result;
    while (result.size() < length)
        result += std::to_string(result.size()) + ",";
    result.resize(length);
    return result;
}

} // namespace

TEST(MessageText, FormatsLikePrintf) {
    EXPECT_EQ(text("%s %d %.3f|%5x", "a", -7, 1.5, 255), "a -7 1.500|   ff");
}

TEST(MessageText, MayBeEmpty) {
    EXPECT_EQ(text("%s", ""), "");
}

TEST(MessageText, TextOf2047CharactersIsWhole) {
    const std::string whole = numbered(2047);
    EXPECT_EQ(text("%s", whole.c_str()), whole);
}

TEST(MessageText, TextOf2048CharactersLosesItsLastOneUnmarked) {
    const std::string whole = numbered(2048);
    EXPECT_EQ(text("%s", whole.c_str()), whole.substr(0, 2047));
}

TEST(MessageText, TextOf2049CharactersIsWhole) {
    const std::string whole = numbered(2049);
    EXPECT_EQ(text("%s", whole.c_str()), whole);
}

TEST(MessageText, TextOf3000CharactersIsWhole) {
    const std::string whole = numbered(3000);
    EXPECT_EQ(text("%s", whole.c_str()), whole);
}

TEST(MessageText, TextOf19999CharactersIsWhole) {
    const std::string whole = numbered(19999);
    EXPECT_EQ(text("%s", whole.c_str()), whole);
}

TEST(MessageText, TextOf20000CharactersLosesItsLastOneUnmarked) {
    const std::string whole = numbered(20000);
    EXPECT_EQ(text("%s", whole.c_str()), whole.substr(0, 19999));
}

TEST(MessageText, TextOf20001CharactersIsCutTo19999AndMarked) {
    const std::string whole = numbered(20001);
    EXPECT_EQ(text("%s", whole.c_str()), whole.substr(0, 19999) + " ...");
}

TEST(MessageText, TextOf25000CharactersIsCutTo19999AndMarked) {
    const std::string whole = numbered(25000);
    EXPECT_EQ(text("%s", whole.c_str()), whole.substr(0, 19999) + " ...");
}

TEST(MessageText, TextThatCannotBeFormattedIsMarked) {
    const std::wstring unrepresentable(1, static_cast<wchar_t>(0x7fffffff));
    const std::string result = text("before %ls after", unrepresentable.c_str());
    ASSERT_GE(result.size(), 4U);
    EXPECT_EQ(result.substr(result.size() - 4), " ...");
    EXPECT_EQ(result.find("after"), std::string::npos);
}

TEST(MessageText, HugeWidthIsCutAndMarked) {
    EXPECT_EQ(text("%*d", 1000000, 7), std::string(19999, ' ') + " ...");
}

// Also if QuickFormat supports the conversion and value of one number but not those of the other.
TEST(MessageText, AllNumbersHaveTheDecimalPointOfTheLocale) {
    const DecimalComma comma;
    EXPECT_EQ(text("%.3f s", 1.5), "1,500 s");
    EXPECT_EQ(text("%.3f and %g", 1.5, 2.5), "1,500 and 2,5");
    EXPECT_EQ(text("%.1f and %.1f", 1.5, 1e16), "1,5 and 10000000000000000,0");
}
