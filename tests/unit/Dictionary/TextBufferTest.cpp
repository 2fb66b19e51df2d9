#include "detail/TextBuffer.h"

#include <gtest/gtest.h>
#include <string>

using kf::detail::TextBuffer;

TEST(TextBuffer, IsEmptyAtFirst) {
    EXPECT_EQ(TextBuffer().view(), "");
}

TEST(TextBuffer, AppendsItsPartsInOrder) {
    TextBuffer text;
    text.append("a", std::string("bc"), std::string_view("d"));
    text.append(std::string_view(), "e");
    EXPECT_EQ(text.view(), "abcde");
}

TEST(TextBuffer, GrowsAndKeepsEveryByte) {
    TextBuffer text;
    std::string expected;
    for (int i = 0; i < 100000; ++i) {
        const std::string part = std::to_string(i);
        text.append(part, "\n");
        expected.append(part).append("\n");
    }
    EXPECT_EQ(text.view(), expected);
}

TEST(TextBuffer, TakesAPartLargerThanItself) {
    const std::string large(100000, 'x');
    TextBuffer text;
    text.append("a", large);
    EXPECT_EQ(text.view(), "a" + large);
}
