#include "IntBasicItem.h"
#include "Dictionary.h"
#include "KFDictionaryParsingException.h"
#include "TraceCapture.h"

#include <climits>
#include <gmock/gmock.h>
#include <memory>

using testing::HasSubstr;
using testing::MatchesRegex;

static int valueOf(const Item& item) {
    int value = 0;
    EXPECT_TRUE(item.getValueAs(value));
    return value;
}

static int unMarshalled(const std::string& line) {
    std::stringstream in(line);
    IntBasicItem item("n", 99);
    item.unMarshall(in);
    return valueOf(item);
}

TEST(IntBasicItem, HoldsZeroUntilItIsSet) {
    EXPECT_EQ(valueOf(IntBasicItem()), 0);
    EXPECT_EQ(valueOf(IntBasicItem("n")), 0);
    IntBasicItem item("n", 5);
    EXPECT_EQ(valueOf(item), 5);
    item.setValue(-6);
    EXPECT_EQ(valueOf(item), -6);
    EXPECT_EQ(item.getName(), "n");
}

TEST(IntBasicItem, IsNoText) {
    EXPECT_EQ(IntBasicItem("n", 5).getValue(), nullptr);
}

TEST(IntBasicItem, CopiesAreIndependent) {
    IntBasicItem original("n", 1);
    const IntBasicItem copy(original);
    IntBasicItem assigned;
    assigned = original;
    const std::unique_ptr<Item> clone(original.clone());
    original.setValue(2);
    original.setName("changed");
    for (const Item* const item : std::initializer_list<const Item*>{&copy, &assigned, clone.get()}) {
        EXPECT_EQ(item->getName(), "n");
        EXPECT_EQ(valueOf(*item), 1);
    }
    EXPECT_NE(dynamic_cast<IntBasicItem*>(clone.get()), nullptr);
}

TEST(IntBasicItem, EqualsByNameAndValue) {
    IntBasicItem item("n", 1);
    EXPECT_TRUE(item.equals(IntBasicItem("n", 1)));
    EXPECT_FALSE(item.equals(IntBasicItem("m", 1)));
    EXPECT_FALSE(item.equals(IntBasicItem("n", 2)));
    EXPECT_FALSE(item.equals(Dictionary("n")));
}

TEST(IntBasicItem, TracesTheResultOfAComparison) {
    TraceCapture trace;
    IntBasicItem item("n", 1);
    item.equals(item);
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] equals returns 1\n"));
    item.equals(Dictionary("n"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] equals returns 0\n"));
}

// Programs that read saved files expect <int> at the start of the line.
TEST(IntBasicItem, MarshallsAsIntWithoutTheIndent) {
    EXPECT_EQ(IntBasicItem("n", -5).marshall("\t\t\t"), "<int>-5</int>\n");
    EXPECT_EQ(IntBasicItem("n", 0).marshall(""), "<int>0</int>\n");
    EXPECT_EQ(IntBasicItem("n", INT_MAX).marshall("\t"), "<int>2147483647</int>\n");
    EXPECT_EQ(IntBasicItem("n", INT_MIN).marshall("\t"), "<int>-2147483648</int>\n");
}

TEST(IntBasicItem, UnMarshallsExactlyOneLine) {
    std::stringstream in("\t<int>12</int>\nnext");
    IntBasicItem item("n");
    item.unMarshall(in);
    EXPECT_EQ(valueOf(item), 12);
    std::string rest;
    std::getline(in, rest);
    EXPECT_EQ(rest, "next");
}

TEST(IntBasicItem, ConvertsTheNumberAtTheBeginningOfTheText) {
    EXPECT_EQ(unMarshalled("<int> 12 </int>\r"), 12);
    EXPECT_EQ(unMarshalled("<int>-7</int>"), -7);
    EXPECT_EQ(unMarshalled("<int>+7</int>"), 7);
    EXPECT_EQ(unMarshalled("<int>\r\v\f 3</int>"), 3);
    EXPECT_EQ(unMarshalled("<int>12abc</int>"), 12);
    EXPECT_EQ(unMarshalled("<int>0x10</int>"), 0);
    EXPECT_EQ(unMarshalled("<int>012</int>"), 12);
    EXPECT_EQ(unMarshalled("<int>1 2</int>"), 1);
}

TEST(IntBasicItem, ATextWithoutANumberIsZero) {
    EXPECT_EQ(unMarshalled("<int></int>"), 0);
    EXPECT_EQ(unMarshalled("<int>abc</int>"), 0);
    EXPECT_EQ(unMarshalled("<int>- 5</int>"), 0);
    EXPECT_EQ(unMarshalled("<int>--5</int>"), 0);
}

TEST(IntBasicItem, ANumberOutOfRangeBecomesTheNearestEndOfTheRange) {
    EXPECT_EQ(unMarshalled("<int>2147483647</int>"), INT_MAX);
    EXPECT_EQ(unMarshalled("<int>2147483648</int>"), INT_MAX);
    EXPECT_EQ(unMarshalled("<int>4294967296</int>"), INT_MAX);
    EXPECT_EQ(unMarshalled("<int>99999999999999999999999999</int>"), INT_MAX);
    EXPECT_EQ(unMarshalled("<int>-2147483648</int>"), INT_MIN);
    EXPECT_EQ(unMarshalled("<int>-2147483649</int>"), INT_MIN);
    EXPECT_EQ(unMarshalled("<int>-99999999999999999999999999</int>"), INT_MIN);
}

TEST(IntBasicItem, UnMarshallingAnotherElementThrowsAndKeepsTheValue) {
    IntBasicItem item("n", 5);
    std::stringstream in("<integer>1</integer>\n");
    EXPECT_THROW(item.unMarshall(in), KFDictionaryParsingException);
    EXPECT_EQ(valueOf(item), 5);
}

// Deliberately hexadecimal and without a prefix, which readers of traces expect.
TEST(IntBasicItem, ShowsItsValueInHexadecimalInATrace) {
    EXPECT_THAT(IntBasicItem("n", 10).toString("\t"),
                MatchesRegex("\tIntBasicItem \\[0x[0-9a-f]+\\] name : 'n' value : 'a'\n"));
    EXPECT_THAT(IntBasicItem("n", 255).toString(""), HasSubstr("value : 'ff'"));
    EXPECT_THAT(IntBasicItem("n", -1).toString(""), HasSubstr("value : 'ffffffff'"));
    EXPECT_THAT(IntBasicItem("n", 0).toString(""), HasSubstr("value : '0'"));
}
