#include "BasicItem.h"
#include "Dictionary.h"
#include "IntBasicItem.h"
#include "KFDictionaryParsingException.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

static int linesWith(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

TEST(ItemTrim, TakesSpacesTabsAndLineFeedsFromBothEnds) {
    EXPECT_EQ(Item::trim(" \t\na b\n\t "), "a b");
    EXPECT_EQ(Item::trim("a"), "a");
    EXPECT_EQ(Item::trim("\n\ta\t\tb\n"), "a\t\tb");
}

TEST(ItemTrim, OfNothingButBlanksIsEmpty) {
    EXPECT_EQ(Item::trim("\t\n "), "");
    EXPECT_EQ(Item::trim(""), "");
}

TEST(ItemTrim, KeepsACarriageReturn) {
    EXPECT_EQ(Item::trim("a\r"), "a\r");
    EXPECT_EQ(Item::trim(" \ra\v "), "\ra\v");
}

TEST(ItemGetXmlVal, TakesTheTrimmedTextBetweenTheTagAndTheClosingTag) {
    EXPECT_EQ(Item::getXmlVal("<string>", "<string>  a b </string>"), "a b");
    EXPECT_EQ(Item::getXmlVal("<string>", "<string></string>"), "");
    EXPECT_EQ(Item::getXmlVal("<key>", "<key>k</key>"), "k");
}

TEST(ItemGetXmlVal, IgnoresTextBeforeTheTagAndBehindTheFirstClosingTag) {
    EXPECT_EQ(Item::getXmlVal("<int>", "  <int> 12 </int>\r"), "12");
    EXPECT_EQ(Item::getXmlVal("<string>", "junk <string>a</string>b</string>"), "a");
    EXPECT_EQ(Item::getXmlVal("<string>", "<string>a</anything>"), "a");
}

TEST(ItemGetXmlVal, GoesToTheEndOfALineWithoutClosingTag) {
    EXPECT_EQ(Item::getXmlVal("<string>", "<string> open "), "open");
    EXPECT_EQ(Item::getXmlVal("<string>", "<string>"), "");
}

TEST(ItemGetXmlVal, DecodesNothing) {
    EXPECT_EQ(Item::getXmlVal("<string>", "<string>&lt;a&amp;</string>"), "&lt;a&amp;");
}

TEST(ItemGetXmlVal, TakesTheFirstOfTwoTags) {
    EXPECT_EQ(Item::getXmlVal("<string>", "<string>a<string>b</string>"), "a<string>b");
}

// The closing tag is searched from the start of the line. If it precedes the value, nothing is cut off.
TEST(ItemGetXmlVal, AClosingTagBeforeTheTagLeavesTheRestOfTheLine) {
    EXPECT_EQ(Item::getXmlVal("<string>", "</x><string> a</string>"), "a</string>");
    EXPECT_EQ(Item::getXmlVal("</", "</key>"), "key>");
    EXPECT_EQ(Item::getXmlVal("x</", "x</key>"), "key>");
    EXPECT_EQ(Item::getXmlVal("<string>", "</<string>"), "");
}

TEST(ItemGetXmlVal, AMissingTagIsReportedAsAMissingKeyWhateverTheTag) {
    try {
        Item::getXmlVal("<int>", "<string>1</string>");
        FAIL() << "nothing thrown";
    } catch (const KFDictionaryParsingException& exception) {
        EXPECT_STREQ(exception.what(), "Can't find <key> in stream");
        EXPECT_STREQ(exception.getFileName(),
                     "product/Infrastructure/ProgrammingServices/Dictionary/src/Item");
        EXPECT_EQ(exception.getLine(), 180);
    }
    EXPECT_THROW(Item::getXmlVal("<key>", ""), KFDictionaryParsingException);
}

TEST(ItemGetXmlVal, TracesWhatItReturns) {
    TraceCapture trace;
    Item::getXmlVal("<key>", "<key> k </key>");
    EXPECT_THAT(trace.text(), HasSubstr("Item::getXmlVal\n"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] getXmlVal returns 'k'\n"));
}

TEST(Item, ALeafAnswersNoneOfADictionarysQuestions) {
    BasicItem text("t", "x");
    IntBasicItem number("n", 1);
    for (Item* const item : std::initializer_list<Item*>{&text, &number}) {
        int untouched = 77;
        EXPECT_EQ(item->getAsDictionary(), nullptr);
        EXPECT_EQ(item->findValue("t"), nullptr);
        EXPECT_TRUE(item->findValues("t").empty());
        EXPECT_EQ(item->getValue("t"), nullptr);
        EXPECT_FALSE(item->getValueAs("n", untouched));
        EXPECT_EQ(untouched, 77);
        EXPECT_FALSE(item->contains("t"));
        EXPECT_EQ(item->getItem(std::string("t")), nullptr);
        EXPECT_EQ(item->getItem("t"), nullptr);
    }
}

TEST(Item, TheNameCanBeChanged) {
    BasicItem item("before");
    EXPECT_EQ(item.getName(), "before");
    item.setName("after");
    EXPECT_EQ(item.getName(), "after");
}

TEST(Item, ConstructionCopyAndDestructionAreTracedAndCounted) {
    TraceCapture trace;
    {
        BasicItem text("t");
        const BasicItem copy(text);
        IntBasicItem number("n");
        trace.tracer().PrintAllObjectsCount();
    }
    const std::string text = trace.text();
    for (const char* name :
         {"Item::constructor\n", "Item::copyconstructor\n", "Item::destructor\n", "BasicItem::constructor\n",
          "BasicItem::copyconstructor\n", "BasicItem::destructor\n", "IntBasicItem::constructor\n",
          "IntBasicItem::destructor\n"})
        EXPECT_THAT(text, HasSubstr(name));
    EXPECT_EQ(linesWith(text, "Class = BasicItem                     , count = 000002\n"), 1);
    EXPECT_EQ(linesWith(text, "Class = IntBasicItem                  , count = 000001\n"), 1);
    EXPECT_EQ(linesWith(text, "Class = Item                          , count = 000003\n"), 1);
    trace.tracer().PrintAllObjectsCount();
    EXPECT_EQ(linesWith(trace.text(), "Class = "), 3) << "all are uncounted again";
}
