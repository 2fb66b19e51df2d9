#include "detail/LeafText.h"

#include <gtest/gtest.h>
#include <new>
#include <string>

using kf::detail::LeafText;

namespace {

/// A LeafText with room behind it for its characters, as in a leaf that was read.
class TextWithRoom {
public:
    explicit TextWithRoom(std::string_view text)
        : m_block(::operator new(sizeof(LeafText) + LeafText::sizeBehind(text))),
          m_text(new (m_block) LeafText) {
        m_text->placeBehind(text);
    }
    ~TextWithRoom() {
        m_text->~LeafText();
        ::operator delete(m_block);
    }
    TextWithRoom(const TextWithRoom&) = delete;
    TextWithRoom& operator=(const TextWithRoom&) = delete;

    LeafText& operator*() const { return *m_text; }
    LeafText* operator->() const { return m_text; }
    bool isBehind() const { return m_text->c_str() == reinterpret_cast<const char*>(m_text + 1); }

private:
    void* m_block;
    LeafText* m_text;
};

} // namespace

TEST(LeafText, IsEmptyAtFirst) {
    EXPECT_EQ(LeafText().view(), "");
    EXPECT_STREQ(LeafText().c_str(), "");
}

TEST(LeafText, HoldsACopyWithAZeroByteBehindIt) {
    std::string original = "text";
    const LeafText text(original);
    original = "else";
    EXPECT_EQ(text.view(), "text");
    EXPECT_STREQ(text.c_str(), "text");
}

TEST(LeafText, HoldsZeroBytes) {
    const std::string_view zero("a\0b", 3);
    EXPECT_EQ(LeafText(zero).view(), zero);
    EXPECT_EQ(TextWithRoom(zero)->view(), zero);
}

TEST(LeafText, TakesAPartOfItself) {
    LeafText text("a text that is longer than a short one");
    text.assign(text.view().substr(2));
    EXPECT_EQ(text.view(), "text that is longer than a short one");
    const TextWithRoom behind("a text");
    behind->assign(behind->view().substr(2));
    EXPECT_EQ(behind->view(), "text");
}

TEST(LeafText, StandsBehindALeafUntilAnotherTextIsAssigned) {
    const TextWithRoom text("a text");
    EXPECT_TRUE(text.isBehind());
    EXPECT_STREQ(text->c_str(), "a text");
    text->assign("another one, longer than the first");
    EXPECT_FALSE(text.isBehind());
    EXPECT_STREQ(text->c_str(), "another one, longer than the first");
    text->assign("");
    EXPECT_STREQ(text->c_str(), "");
}

TEST(LeafText, AnEmptyOneMayStandBehindALeaf) {
    const TextWithRoom text("");
    EXPECT_EQ(text->view(), "");
    EXPECT_STREQ(text->c_str(), "");
}
