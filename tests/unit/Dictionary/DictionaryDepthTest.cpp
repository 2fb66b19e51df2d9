#include "BasicItem.h"
#include "Dictionary.h"
#include "SmallStack.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::Not;

// How deep a tree may be, and that no operation on a deep tree exhausts the stack.

static constexpr int MAXIMUM = Dictionary::MAXIMUM_DEPTH;

/// The path "a.a. ... .a" with this many keys.
static std::string pathOf(int keys) {
    std::string path = "a";
    for (int count = 1; count < keys; ++count)
        path += ".a";
    return path;
}

/// A property list of so many nested dictionaries; the innermost has a text.
static std::string nested(int levels) {
    std::string text;
    for (int level = 1; level < levels; ++level)
        text += "<dict>\n<key>a</key>\n";
    text += "<dict>\n<key>leaf</key>\n<string>x</string>\n";
    for (int level = 0; level < levels; ++level)
        text += "</dict>\n<key>behind</key>\n<string>y</string>\n";
    return text;
}

static int depthOf(const Dictionary& dictionary) {
    int depth = 1;
    for (Item* item = dictionary.getItem("a"); item != nullptr && item->getAsDictionary() != nullptr;
         item = item->getItem("a"))
        ++depth;
    return depth;
}

TEST(DictionaryDepth, TheReaderFillsDictionariesDownToTheLimit) {
    Dictionary dictionary;
    std::stringstream in(nested(MAXIMUM));
    dictionary.unMarshall(in);
    EXPECT_EQ(depthOf(dictionary), MAXIMUM);
    EXPECT_STREQ(dictionary.findValue("leaf"), "x");
    EXPECT_STREQ(dictionary.getValue("behind"), "y");
}

TEST(DictionaryDepth, ADictionaryBelowTheLimitStaysEmptyAndAnErrorIsTraced) {
    Dictionary dictionary;
    std::stringstream in(nested(MAXIMUM + 1));
    TraceCapture trace;
    dictionary.unMarshall(in);
    EXPECT_EQ(depthOf(dictionary), MAXIMUM + 1);
    EXPECT_EQ(dictionary.findValue("leaf"), nullptr);
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] Dictionary a is too deep, it stays empty\n"));
    // The text after the skipped dictionary belongs to its parent, as if the dictionary had been read.
    EXPECT_STREQ(dictionary.getItem(pathOf(MAXIMUM - 1))->getAsDictionary()->getValue("behind"), "y");
    EXPECT_STREQ(dictionary.getValue("behind"), "y");
}

TEST(DictionaryDepth, WhatIsSkippedBelowTheLimitEndsWhereReadingItWouldEnd) {
    for (const char* body : {"<dict>\n", "<dict>\n<key>k</key>\n<dict>\n</dict>\n</dict>\n",
                             "<dict>\n<key>k</key>\n<true/>\n<key>k</key>\n<int>1</int>\njunk\n",
                             "<dict>\n<key>k</key>\n<string><dict></string>\n</dict>\n",
                             "<dict>\n<key>k</key>\n<dict>\n<key>l</key>\n<dict>\n</dict>\n\n</dict>\n"}) {
        const std::string behind = "<key>behind</key>\n<string>y</string>\n</dict>\n";
        Dictionary plain;
        std::stringstream plainIn("<dict>\n<key>a</key>\n" + (body + behind));
        plain.unMarshall(plainIn);
        std::string deepText;
        for (int level = 1; level < MAXIMUM; ++level)
            deepText += "<dict>\n<key>a</key>\n";
        Dictionary deep;
        std::stringstream deepIn(deepText + "<dict>\n<key>a</key>\n" + body + behind);
        deep.unMarshall(deepIn);
        const char* const expected = plain.getValue("behind");
        const char* const actual = deep.getItem(pathOf(MAXIMUM - 1))->getAsDictionary()->getValue("behind");
        EXPECT_EQ(expected == nullptr, actual == nullptr) << body;
    }
}

TEST(DictionaryDepth, BuildersReachTheLimitAndRefuseADeeperPathWhole) {
    Dictionary dictionary;
    dictionary.addValue(pathOf(MAXIMUM), "x");
    EXPECT_STREQ(dictionary.getValue(pathOf(MAXIMUM)), "x");
    Dictionary untouched;
    TraceCapture trace;
    untouched.addValue("b." + pathOf(MAXIMUM), "x");
    untouched.addValue(std::string(100000, '.'), 5);
    BasicItem item("a", "x");
    untouched.setItem("b." + pathOf(MAXIMUM), item);
    EXPECT_EQ(untouched.getFirstItem(), nullptr);
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] Path b.a.a.a"));
    EXPECT_THAT(trace.text(), HasSubstr(".a is too deep\n"));
}

TEST(DictionaryDepth, CountsFromTheTopOfTheTreeAlsoInItsParts) {
    Dictionary dictionary;
    dictionary.addValue(pathOf(MAXIMUM - 1) + ".leaf", "x");
    Dictionary* const innermost = dictionary.getItem(pathOf(MAXIMUM - 1))->getAsDictionary();
    TraceCapture trace;
    innermost->addValue("a.leaf", "too deep");
    EXPECT_FALSE(innermost->hasKey("a"));
    Dictionary empty("a");
    innermost->setItem("a", empty);
    Dictionary* const below = innermost->getItem("a")->getAsDictionary();
    below->addValue("leaf", "too deep");
    EXPECT_EQ(below->getFirstItem(), nullptr);
    below->setItem("leaf", *innermost->getItem("leaf"));
    EXPECT_EQ(below->getFirstItem(), nullptr);
    below->mergeDictionary(*innermost);
    EXPECT_EQ(below->getFirstItem(), nullptr);
    std::stringstream in("<dict>\n<key>leaf</key>\n<string>too deep</string>\n</dict>\nrest");
    below->unMarshall(in);
    EXPECT_EQ(below->getFirstItem(), nullptr);
    *below = dictionary;
    EXPECT_EQ(below->getFirstItem(), nullptr);
    std::string rest;
    std::getline(in, rest);
    EXPECT_EQ(rest, "rest");
    EXPECT_THAT(trace.text(), HasSubstr(">> [E]"));
}

TEST(DictionaryDepth, ADeepCopyPutBelowIsCutAtTheLimit) {
    Dictionary deep("a");
    deep.addValue(pathOf(MAXIMUM), "x");
    Dictionary dictionary;
    TraceCapture trace;
    dictionary.setItem("a", deep);
    EXPECT_EQ(depthOf(dictionary), MAXIMUM + 1);
    EXPECT_EQ(dictionary.getItem(pathOf(MAXIMUM + 1)), nullptr);
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] Dictionary a is too deep, it stays empty\n"));
    Dictionary merged;
    merged.addValue("a.b", 1);
    Dictionary outer;
    outer.setItem("a", deep);
    merged.mergeDictionary(outer);
    EXPECT_EQ(depthOf(merged), MAXIMUM + 1);
}

TEST(DictionaryDepth, ACopyOfAPartBeginsANewTree) {
    Dictionary dictionary;
    dictionary.addValue(pathOf(MAXIMUM), "x");
    Dictionary part(*dictionary.getItem(pathOf(MAXIMUM - 1))->getAsDictionary());
    TraceCapture trace;
    part.addValue("b." + pathOf(MAXIMUM - 1), "x");
    EXPECT_THAT(trace.text(), Not(HasSubstr(">> [E]")));
    EXPECT_STREQ(part.getValue("b." + pathOf(MAXIMUM - 1)), "x");
}

TEST(DictionaryDepth, ATreeThatSwallowsItselfOverAndOverStopsAtTheLimit) {
    Dictionary dictionary;
    for (int count = 0; count < 20; ++count)
        dictionary.setItem(pathOf(depthOf(dictionary)), dictionary);
    EXPECT_EQ(depthOf(dictionary), MAXIMUM + 1);
}

static void useTheDeepestTree() {
    Dictionary dictionary;
    std::stringstream in(nested(100000));
    dictionary.unMarshall(in);
    ASSERT_EQ(depthOf(dictionary), MAXIMUM + 1);
    Dictionary copy(dictionary);
    EXPECT_TRUE(copy.equals(dictionary));
    const std::string text = copy.marshall("");
    std::stringstream again(text);
    Dictionary reread;
    reread.unMarshall(again);
    EXPECT_TRUE(reread.equals(dictionary));
    EXPECT_FALSE(copy.toString("").empty());
    copy.mergeDictionary(dictionary);
    copy.addDictionary(pathOf(MAXIMUM / 2), dictionary);
    BasicItem missing("missing", "");
    EXPECT_EQ(copy.getItemPath(missing), "");
    EXPECT_EQ(copy.findItem("missing"), nullptr);
    EXPECT_TRUE(copy.findItems("missing").empty());
    EXPECT_FALSE(copy.contains(pathOf(MAXIMUM + 5)));
    copy.removeAllItems(missing);
    copy.removeItem(pathOf(MAXIMUM));
    copy.setItem(pathOf(MAXIMUM), missing);
    copy = dictionary;
    copy.clear();
}

TEST(DictionaryDepth, NoOperationExhaustsASmallStack) {
    runWithASmallStack(useTheDeepestTree);
}

TEST(DictionaryDepth, NorWithEveryCallTraced) {
    TraceCapture trace;
    trace.tracer().SetFileName("msvc");
    runWithASmallStack(useTheDeepestTree);
}
