#include "BasicItem.h"
#include "Dictionary.h"
#include "IntBasicItem.h"
#include "KFDictionaryParsingException.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <memory>

using testing::HasSubstr;
using testing::MatchesRegex;

TEST(BasicItem, HoldsAnEmptyTextUntilItIsSet) {
    EXPECT_EQ(BasicItem().getName(), "");
    EXPECT_STREQ(BasicItem().getValue(), "");
    EXPECT_STREQ(BasicItem("n").getValue(), "");
    BasicItem item("n", "v");
    EXPECT_STREQ(item.getValue(), "v");
    item.setValue("w");
    EXPECT_STREQ(item.getValue(), "w");
    EXPECT_EQ(item.getName(), "n");
}

TEST(BasicItem, IsNoNumber) {
    int untouched = 77;
    EXPECT_FALSE(BasicItem("n", "12").getValueAs(untouched));
    EXPECT_EQ(untouched, 77);
}

TEST(BasicItem, CopiesAreIndependent) {
    BasicItem original("n", "v");
    const BasicItem copy(original);
    BasicItem assigned;
    assigned = original;
    const std::unique_ptr<Item> clone(original.clone());
    original.setValue("changed");
    original.setName("changed");
    for (const Item* const item : std::initializer_list<const Item*>{&copy, &assigned, clone.get()}) {
        EXPECT_EQ(item->getName(), "n");
        EXPECT_STREQ(item->getValue(), "v");
    }
    EXPECT_NE(dynamic_cast<BasicItem*>(clone.get()), nullptr);
}

TEST(BasicItem, AssignedToItselfItStaysAsItIs) {
    BasicItem item("n", "v");
    const BasicItem& same = item;
    item = same;
    EXPECT_EQ(item.getName(), "n");
    EXPECT_STREQ(item.getValue(), "v");
}

TEST(BasicItem, EqualsByNameAndValue) {
    BasicItem item("n", "v");
    EXPECT_TRUE(item.equals(BasicItem("n", "v")));
    EXPECT_TRUE(item.equals(item));
    EXPECT_FALSE(item.equals(BasicItem("m", "v")));
    EXPECT_FALSE(item.equals(BasicItem("n", "w")));
    EXPECT_FALSE(item.equals(BasicItem("n", "vv")));
    EXPECT_FALSE(item.equals(BasicItem("nn", "v")));
}

TEST(BasicItem, NeverEqualsAnIntegerOrADictionaryInEitherDirection) {
    BasicItem text("n", "1");
    IntBasicItem number("n", 1);
    Dictionary dictionary("n");
    EXPECT_FALSE(text.equals(number));
    EXPECT_FALSE(number.equals(text));
    EXPECT_FALSE(text.equals(dictionary));
    EXPECT_FALSE(dictionary.equals(text));
}

TEST(BasicItem, TracesTheResultOfAComparison) {
    TraceCapture trace;
    BasicItem item("n", "v");
    item.equals(item);
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] equals returns 1\n"));
    item.equals(IntBasicItem("n", 1));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] equals returns 0\n"));
}

TEST(BasicItem, TracesThatItIsRead) {
    TraceCapture trace;
    std::stringstream in("<string>x</string>\n");
    BasicItem item("n");
    item.unMarshall(in);
    EXPECT_THAT(trace.text(), HasSubstr("BasicItem::unMarshall\n"));
}

TEST(BasicItem, MarshallsOneIndentedLineAndEscapesNothing) {
    EXPECT_EQ(BasicItem("a", "x<y").marshall("\t"), "\t<string>x<y</string>\n");
    EXPECT_EQ(BasicItem("a", "a&b\"'").marshall(""), "<string>a&b\"'</string>\n");
    EXPECT_EQ(BasicItem("a").marshall("\t\t"), "\t\t<string></string>\n");
}

TEST(BasicItem, UnMarshallsExactlyOneLine) {
    std::stringstream in("  <string> a b </string>\nnext");
    BasicItem item("n");
    item.unMarshall(in);
    EXPECT_STREQ(item.getValue(), "a b");
    std::string rest;
    std::getline(in, rest);
    EXPECT_EQ(rest, "next");
}

TEST(BasicItem, UnMarshallsALastLineWithoutLineFeed) {
    std::stringstream in("<string>x</string>");
    BasicItem item("n");
    item.unMarshall(in);
    EXPECT_STREQ(item.getValue(), "x");
}

TEST(BasicItem, UnMarshallingAnotherElementThrowsAndKeepsTheValue) {
    BasicItem item("n", "before");
    std::stringstream in("<int>1</int>\n");
    EXPECT_THROW(item.unMarshall(in), KFDictionaryParsingException);
    std::stringstream nothing;
    EXPECT_THROW(item.unMarshall(nothing), KFDictionaryParsingException);
    EXPECT_STREQ(item.getValue(), "before");
}

TEST(BasicItem, ShowsItsAddressNameAndValueInATrace) {
    EXPECT_THAT(BasicItem("n", "v").toString("\t"),
                MatchesRegex("\tBasicItem \\[0x[0-9a-f]+\\] name : 'n' value : 'v'\n"));
}
