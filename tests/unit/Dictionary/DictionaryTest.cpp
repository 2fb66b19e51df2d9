#include "Dictionary.h"
#include "BasicItem.h"
#include "IntBasicItem.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <memory>

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

static void fill(Dictionary& dictionary) {
    dictionary.addValue("a", "x");
    dictionary.addValue("d.b", "y");
    dictionary.addValue("d.n", 3);
}

TEST(Dictionary, IsNamedRootUnlessToldOtherwise) {
    EXPECT_EQ(Dictionary().getName(), "root");
    EXPECT_EQ(Dictionary("d").getName(), "d");
    EXPECT_EQ(Dictionary("").getName(), "");
}

TEST(Dictionary, IsNeitherATextNorANumber) {
    Dictionary dictionary;
    int untouched = 77;
    EXPECT_EQ(dictionary.getValue(), nullptr);
    EXPECT_FALSE(dictionary.getValueAs(untouched));
    EXPECT_EQ(untouched, 77);
    EXPECT_EQ(dictionary.getAsDictionary(), &dictionary);
}

TEST(Dictionary, OrdersItsChildrenByteWise) {
    Dictionary dictionary;
    for (const char* key : {"b", "\xc3\xa4", "a", "B", "", "aa", "Z", "1"})
        dictionary.addValue(key, "");
    std::string order;
    while (Item* const first = dictionary.getFirstItem()) {
        order += "[" + first->getName() + "]";
        dictionary.removeItem(first->getName());
    }
    EXPECT_EQ(order, "[][1][B][Z][a][aa][b][\xc3\xa4]");
}

TEST(Dictionary, ACopyIsDeepAndIndependent) {
    Dictionary original("o");
    fill(original);
    Dictionary copy(original);
    const std::unique_ptr<Item> clone(original.clone());
    Dictionary assigned("other");
    assigned.addValue("old", "gone");
    assigned = original;
    original.addValue("d.b", "changed");
    original.removeItem("a");
    for (Dictionary* const dictionary : {&copy, &assigned, clone->getAsDictionary()}) {
        EXPECT_EQ(dictionary->getName(), "o");
        EXPECT_STREQ(dictionary->getValue("a"), "x");
        EXPECT_STREQ(dictionary->getValue("d.b"), "y");
        int number = 0;
        EXPECT_TRUE(dictionary->getValueAs("d.n", number));
        EXPECT_EQ(number, 3);
        EXPECT_FALSE(dictionary->hasKey("old"));
    }
}

TEST(Dictionary, AssignedToItselfItIsLeftEmptyDeliberately) {
    Dictionary dictionary("d");
    fill(dictionary);
    const Dictionary& same = dictionary;
    dictionary = same;
    EXPECT_EQ(dictionary.getFirstItem(), nullptr);
    EXPECT_EQ(dictionary.getName(), "d");
}

TEST(Dictionary, CanBeAssignedAPartOfItself) {
    Dictionary dictionary;
    fill(dictionary);
    dictionary = *dictionary.getItem("d")->getAsDictionary();
    EXPECT_EQ(dictionary.getName(), "d");
    EXPECT_STREQ(dictionary.getValue("b"), "y");
    EXPECT_FALSE(dictionary.hasKey("a"));
}

TEST(Dictionary, APartCanBeAssignedTheWholeTree) {
    Dictionary dictionary;
    fill(dictionary);
    *dictionary.getItem("d")->getAsDictionary() = dictionary;
    EXPECT_STREQ(dictionary.getValue("d.a"), "x");
    EXPECT_STREQ(dictionary.getValue("d.d.b"), "y");
    EXPECT_EQ(dictionary.getItem("d.b"), nullptr);
}

TEST(DictionaryEquals, ComparesTheChildrenAndNotTheNames) {
    Dictionary one("one");
    Dictionary two("two");
    EXPECT_TRUE(one.equals(two));
    fill(one);
    fill(two);
    EXPECT_TRUE(one.equals(two));
    two.addValue("extra", "");
    EXPECT_FALSE(one.equals(two));
    EXPECT_FALSE(two.equals(one));
    two.removeItem("extra");
    two.addValue("d.b", "different");
    EXPECT_FALSE(one.equals(two));
}

TEST(DictionaryEquals, TellsInTheTraceWhy) {
    Dictionary one;
    Dictionary two;
    one.addValue("a", "x");
    two.addValue("b", "x");
    {
        TraceCapture trace;
        EXPECT_FALSE(one.equals(two));
        EXPECT_THAT(trace.text(), HasSubstr(">> [D] Key not found b\n"));
    }
    {
        TraceCapture trace;
        EXPECT_FALSE(one.equals(Dictionary()));
        EXPECT_THAT(trace.text(), HasSubstr(">> [D] Dictionary have different sizes\n"));
    }
    {
        TraceCapture trace;
        one.equals(BasicItem("a", "x"));
        EXPECT_THAT(trace.text(), HasSubstr(">> [D] Other is not a dictionary\n"));
        EXPECT_THAT(trace.text(), Not(HasSubstr("equals returns")));
    }
    {
        TraceCapture trace;
        one.equals(one);
        EXPECT_THAT(trace.text(), HasSubstr(">> [D] equals returns 1\n"));
    }
    {
        TraceCapture trace;
        two.addValue("a", "y");
        two.removeItem("b");
        one.equals(two);
        EXPECT_THAT(trace.text(), HasSubstr(">> [D] equals returns 0\n"));
    }
}

TEST(DictionaryRemove, ByPath) {
    Dictionary dictionary;
    fill(dictionary);
    dictionary.removeItem("d.b");
    EXPECT_EQ(dictionary.getItem("d.b"), nullptr);
    EXPECT_NE(dictionary.getItem("d.n"), nullptr);
    dictionary.removeItem("d");
    EXPECT_FALSE(dictionary.hasKey("d"));
    EXPECT_TRUE(dictionary.hasKey("a"));
}

TEST(DictionaryRemove, IgnoresWhatIsMissing) {
    Dictionary dictionary;
    fill(dictionary);
    const Dictionary before(dictionary);
    for (const char* path : {"missing", "d.missing", "missing.b", "a.b", "", ".", "d.", ".d", "d.b.c"})
        dictionary.removeItem(path);
    EXPECT_TRUE(dictionary.equals(before));
}

TEST(DictionaryRemove, ByAnEqualItem) {
    Dictionary dictionary;
    fill(dictionary);
    BasicItem different("a", "z");
    dictionary.removeItem(different);
    EXPECT_TRUE(dictionary.hasKey("a"));
    BasicItem below("b", "y");
    dictionary.removeItem(below);
    EXPECT_NE(dictionary.getItem("d.b"), nullptr) << "only its own children count";
    BasicItem equal("a", "x");
    dictionary.removeItem(equal);
    EXPECT_FALSE(dictionary.hasKey("a"));
}

TEST(DictionaryRemove, ByAnEqualItemEverywhere) {
    Dictionary dictionary;
    fill(dictionary);
    dictionary.addValue("b", "y");
    dictionary.addValue("d.e.b", "y");
    dictionary.addValue("d.f.b", "other");
    BasicItem item("b", "y");
    dictionary.removeAllItems(item);
    EXPECT_FALSE(dictionary.hasKey("b"));
    EXPECT_EQ(dictionary.getItem("d.b"), nullptr);
    EXPECT_EQ(dictionary.getItem("d.e.b"), nullptr);
    EXPECT_STREQ(dictionary.getValue("d.f.b"), "other");
}

TEST(DictionaryRemove, EverywhereByAnItemOfTheTreeItself) {
    Dictionary dictionary;
    dictionary.addValue("b", "y");
    dictionary.addValue("d.b", "y");
    dictionary.removeAllItems(*dictionary.getItem("b"));
    EXPECT_FALSE(dictionary.hasKey("b"));
    EXPECT_EQ(dictionary.getItem("d.b"), nullptr);
    dictionary.addValue("k", "v");
    dictionary.removeItem(*dictionary.getItem("k"));
    dictionary.addValue("k", "v");
    dictionary.removeItem(dictionary.getItem("k")->getName());
    EXPECT_FALSE(dictionary.hasKey("k"));
}

TEST(DictionaryRemove, ClearAndRemoveAllItemsDoTheSame) {
    Dictionary dictionary;
    fill(dictionary);
    dictionary.clear();
    EXPECT_EQ(dictionary.getFirstItem(), nullptr);
    fill(dictionary);
    dictionary.removeAllItems();
    EXPECT_EQ(dictionary.getFirstItem(), nullptr);
}

TEST(DictionaryToString, ListsItsItemsWithoutALineBreakOfItsOwn) {
    Dictionary dictionary("d");
    EXPECT_THAT(dictionary.toString("\t"), MatchesRegex("\tDictionary \\[0x[0-9a-f]+\\] 'd' items :"));
    dictionary.addValue("a", "x");
    dictionary.addValue("e.n", 10);
    dictionary.addValue("z", "y");
    EXPECT_THAT(dictionary.toString(""),
                MatchesRegex("Dictionary \\[0x[0-9a-f]+\\] 'd' items :"
                             "\tBasicItem \\[0x[0-9a-f]+\\] name : 'a' value : 'x'\n"
                             "\tDictionary \\[0x[0-9a-f]+\\] 'e' items :"
                             "\t\tIntBasicItem \\[0x[0-9a-f]+\\] name : 'n' value : 'a'\n"
                             "\tBasicItem \\[0x[0-9a-f]+\\] name : 'z' value : 'y'\n"));
}

TEST(Dictionary, ObjectsAreCountedAndUncounted) {
    TraceCapture trace;
    {
        Dictionary dictionary;
        fill(dictionary);
        const Dictionary copy(dictionary);
        trace.tracer().PrintAllObjectsCount();
    }
    EXPECT_THAT(trace.text(), HasSubstr("Dictionary::constructor\n"));
    EXPECT_THAT(trace.text(), HasSubstr("Dictionary::copyconstructor\n"));
    EXPECT_THAT(trace.text(), HasSubstr("Dictionary::destructor\n"));
    EXPECT_THAT(trace.text(), HasSubstr("Class = Dictionary                    , count = 000004\n"));
    const std::size_t length = trace.text().size();
    trace.tracer().PrintAllObjectsCount();
    EXPECT_THAT(trace.text().substr(length), Not(HasSubstr("Class = ")));
}

TEST(DictionaryNames, AStoredItemIsRenamedAndKeepsItsKey) {
    Dictionary dictionary;
    dictionary.addValue("d.a", "x");
    Item* const leaf = dictionary.getItem("d.a");
    leaf->setName("another");
    dictionary.getItem("d")->setName("a third");
    EXPECT_EQ(leaf->getName(), "another");
    EXPECT_EQ(dictionary.getItem("d")->getName(), "a third");
    EXPECT_EQ(dictionary.getItem("d.a"), leaf);
    EXPECT_EQ(dictionary.getItem("another"), nullptr);
    leaf->setName(leaf->getName());
    EXPECT_EQ(leaf->getName(), "another");
}

TEST(DictionaryNames, AReplacedItemsSuccessorHasTheName) {
    Dictionary dictionary;
    dictionary.addValue("a key that fills a block of memory", "x");
    dictionary.addValue("a key that fills a block of memory", 5);
    EXPECT_EQ(dictionary.getFirstItem()->getName(), "a key that fills a block of memory");
}

TEST(DictionaryNames, AMergedItemOutlivesTheTreeItCameFrom) {
    Dictionary dictionary;
    {
        Dictionary other;
        other.addValue("a key that fills a block of memory.another one that fills a block", "x");
        dictionary.mergeDictionary(other);
    }
    Item* const item = dictionary.getFirstItem();
    EXPECT_EQ(item->getName(), "a key that fills a block of memory");
    EXPECT_EQ(item->getAsDictionary()->getFirstItem()->getName(), "another one that fills a block");
}

TEST(DictionaryNames, ACloneOutlivesTheTree) {
    std::unique_ptr<Item> clone;
    {
        Dictionary dictionary;
        dictionary.addValue("a key that fills a block of memory", "x");
        clone.reset(dictionary.getFirstItem()->clone());
    }
    EXPECT_EQ(clone->getName(), "a key that fills a block of memory");
}
