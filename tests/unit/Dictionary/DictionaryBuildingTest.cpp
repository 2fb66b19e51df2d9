#include "BasicItem.h"
#include "Dictionary.h"
#include "IntBasicItem.h"
#include "NumberAt.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <memory>

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

TEST(DictionaryAddValue, MakesTheDictionariesOnTheWay) {
    Dictionary dictionary;
    dictionary.addValue("a.b.c", 5);
    ASSERT_NE(dictionary.getItem("a.b"), nullptr);
    EXPECT_NE(dictionary.getItem("a")->getAsDictionary(), nullptr);
    EXPECT_NE(dictionary.getItem("a.b")->getAsDictionary(), nullptr);
    EXPECT_EQ(dictionary.getItem("a.b")->getName(), "b");
    EXPECT_EQ(dictionary.getItem("a.b.c")->getName(), "c");
    EXPECT_EQ(numberAt(dictionary, "a.b.c"), 5);
}

TEST(DictionaryAddValue, ReplacesALeafOfAnotherKind) {
    Dictionary dictionary;
    dictionary.addValue("x", 1);
    dictionary.addValue("x", "1");
    EXPECT_STREQ(dictionary.getValue("x"), "1");
    dictionary.addValue("d.x", "1");
    dictionary.addValue("d.x", 2);
    EXPECT_EQ(numberAt(dictionary, "d.x"), 2);
    dictionary.addValue("d", "no dictionary any more");
    EXPECT_STREQ(dictionary.getValue("d"), "no dictionary any more");
}

TEST(DictionaryAddValue, NamesTheLeafLikeItsKey) {
    Dictionary dictionary;
    dictionary.addValue("a", "x");
    dictionary.addValue("d.b", "x");
    dictionary.addValue("d.", "x");
    dictionary.addValue("", "x");
    EXPECT_EQ(dictionary.getItem("a")->getName(), "a");
    EXPECT_EQ(dictionary.getItem("d.b")->getName(), "b");
    EXPECT_EQ(dictionary.getItem("d.")->getName(), "");
    EXPECT_EQ(dictionary.getItem("")->getName(), "");
}

TEST(DictionaryAddValue, BelowALeafChangesNothing) {
    Dictionary dictionary;
    dictionary.addValue("s", "leaf");
    const Dictionary before(dictionary);
    dictionary.addValue("s.t", 1);
    dictionary.addValue("s.t.u", "x");
    EXPECT_TRUE(dictionary.equals(before));
}

TEST(DictionaryAddValue, TakesItsPathFromTheItemThatItReplaces) {
    Dictionary dictionary;
    dictionary.addValue("a", "x");
    dictionary.addValue(dictionary.getItem("a")->getName(), 7);
    EXPECT_EQ(numberAt(dictionary, "a"), 7);
}

TEST(DictionarySetItem, StoresACopy) {
    Dictionary dictionary;
    BasicItem item("k", "v");
    dictionary.setItem("k", item);
    item.setValue("changed");
    EXPECT_STREQ(dictionary.getValue("k"), "v");
    Dictionary below("d");
    below.addValue("x", 1);
    dictionary.setItem("d", below);
    below.addValue("x", 2);
    EXPECT_EQ(numberAt(dictionary, "d.x"), 1);
}

TEST(DictionarySetItem, ReplacesWhatIsUnderTheKey) {
    Dictionary dictionary;
    dictionary.addValue("d.x", 1);
    BasicItem item("d", "leaf");
    dictionary.setItem("d", item);
    EXPECT_STREQ(dictionary.getValue("d"), "leaf");
}

TEST(DictionarySetItem, BelowALeafLeavesTheTreeUnchanged) {
    Dictionary dictionary;
    dictionary.addValue("s", "leaf");
    const Dictionary before(dictionary);
    BasicItem item("t", "v");
    dictionary.setItem("s.t", item);
    EXPECT_TRUE(dictionary.equals(before));
}

// Deliberate: the path gives the key, but the copy keeps the item's name. Look-ups use the key.
TEST(DictionarySetItem, TheCopyKeepsItsOwnName) {
    Dictionary dictionary;
    BasicItem item("name", "v");
    dictionary.setItem("a.key", item);
    EXPECT_STREQ(dictionary.getValue("a.key"), "v");
    EXPECT_EQ(dictionary.getItem("a.key")->getName(), "name");
    EXPECT_EQ(dictionary.getItem("a.name"), nullptr);
    EXPECT_THAT(dictionary.marshall(""), HasSubstr("<key>key</key>"));
}

TEST(DictionarySetItem, UsesTheDictionariesThatAreThere) {
    Dictionary dictionary;
    dictionary.addValue("a.b", "kept");
    BasicItem item("c", "v");
    dictionary.setItem("a.c", item);
    dictionary.setItem("a.x.c", item);
    EXPECT_STREQ(dictionary.getValue("a.b"), "kept");
    EXPECT_STREQ(dictionary.getValue("a.c"), "v");
    EXPECT_STREQ(dictionary.getValue("a.x.c"), "v");
}

TEST(DictionarySetItem, TakesTheTreeItselfOrAPartOfIt) {
    Dictionary dictionary;
    dictionary.addValue("a.b", "v");
    dictionary.setItem("a", *dictionary.getItem("a"));
    EXPECT_STREQ(dictionary.getValue("a.b"), "v");
    dictionary.setItem("a", *dictionary.getItem("a.b"));
    EXPECT_STREQ(dictionary.getValue("a"), "v");
    dictionary.setItem("self", dictionary);
    EXPECT_STREQ(dictionary.getValue("self.a"), "v");
    EXPECT_EQ(dictionary.getItem("self.self"), nullptr);
    dictionary.setItem("self", dictionary);
    EXPECT_STREQ(dictionary.getValue("self.self.a"), "v");
    dictionary.setItem("self.self.a", dictionary);
    EXPECT_STREQ(dictionary.getValue("self.self.a.self.self.a"), "v");
}

TEST(DictionarySetItem, TracesItsWay) {
    Dictionary dictionary;
    BasicItem item("b", "v");
    TraceCapture trace;
    dictionary.setItem("a.b", item);
    const std::string text = trace.text();
    EXPECT_THAT(text,
                ContainsRegex(">> \\[D\\] Adding on \\[[0-9a-f]+\\] root for path a.b item BasicItem \\[0x"));
    EXPECT_THAT(text, HasSubstr(">> [D] Adding new dictionary on key a\n"));
    EXPECT_THAT(text,
                ContainsRegex(">> \\[D\\] Adding on \\[[0-9a-f]+\\] a for path b item BasicItem \\[0x"));
    EXPECT_THAT(text, HasSubstr(">> [D] Adding on key b item BasicItem [0x"));
    EXPECT_THAT(text, HasSubstr(">> [D] Dictionary is now Dictionary [0x"));
}

TEST(DictionaryAddDictionary, CopiesTheChildrenIntoAnExistingDictionary) {
    Dictionary dictionary;
    dictionary.addValue("d.kept", 1);
    dictionary.addValue("d.replaced", 1);
    Dictionary source;
    source.addValue("replaced", "new");
    source.addValue("e.x", "deep");
    dictionary.addDictionary("d", source);
    EXPECT_EQ(numberAt(dictionary, "d.kept"), 1);
    EXPECT_STREQ(dictionary.getValue("d.replaced"), "new");
    EXPECT_STREQ(dictionary.getValue("d.e.x"), "deep");
    source.addValue("e.x", "changed");
    EXPECT_STREQ(dictionary.getValue("d.e.x"), "deep");
}

TEST(DictionaryAddDictionary, DoesNothingWhereThereIsNoDictionary) {
    Dictionary dictionary;
    dictionary.addValue("leaf", "v");
    const Dictionary before(dictionary);
    Dictionary source;
    source.addValue("x", 1);
    for (const char* path : {"missing", "missing.d", "leaf", "leaf.d", "", "."})
        dictionary.addDictionary(path, source);
    EXPECT_TRUE(dictionary.equals(before));
}

TEST(DictionaryAddDictionary, TheEmptyPathIsTheEmptyKey) {
    Dictionary dictionary;
    dictionary.addValue(".x", "old"); // a dictionary under the empty key
    Dictionary source;
    source.addValue("y", "new");
    dictionary.addDictionary("", source);
    EXPECT_STREQ(dictionary.getValue(".y"), "new");
    EXPECT_FALSE(dictionary.hasKey("y"));
}

TEST(DictionaryAddDictionary, AKeyWithADotIsTakenAsAPath) {
    std::stringstream in("<dict>\n<key>a.b</key>\n<string>v</string>\n</dict>\n");
    Dictionary source;
    source.unMarshall(in);
    Dictionary dictionary;
    dictionary.addValue("d.x", 1);
    dictionary.addDictionary("d", source);
    EXPECT_STREQ(dictionary.getValue("d.a.b"), "v");
}

TEST(DictionaryAddDictionary, TakesTheTreeItselfOrAPartOfIt) {
    Dictionary dictionary;
    dictionary.addValue("d.k.x", "v");
    Dictionary* const target = dictionary.getItem("d")->getAsDictionary();
    const Dictionary before(dictionary);
    dictionary.addDictionary("d", *target);
    EXPECT_TRUE(dictionary.equals(before));
    dictionary.addValue("d.k.k.y", "deep"); // the source's own child replaces the source
    dictionary.addDictionary("d", *dictionary.getItem("d.k")->getAsDictionary());
    EXPECT_STREQ(dictionary.getValue("d.k.y"), "deep");
    EXPECT_STREQ(dictionary.getValue("d.x"), "v");
    dictionary.addDictionary("d", dictionary);
    EXPECT_STREQ(dictionary.getValue("d.d.k.y"), "deep");
}

TEST(DictionaryAddDictionary, TracesItsWay) {
    Dictionary dictionary;
    dictionary.addValue("d.x", 1);
    Dictionary source;
    source.addValue("y", 2);
    TraceCapture trace;
    dictionary.addDictionary("d", source);
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] adding under d\n"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] item found Dictionary [0x"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] item is a dictionary\n"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] adding key y\n"));
}

TEST(DictionaryAddDictionary, TracesThatALeafIsNoDictionary) {
    Dictionary dictionary;
    dictionary.addValue("leaf", 1);
    TraceCapture trace;
    Dictionary source;
    dictionary.addDictionary("leaf", source);
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] item found IntBasicItem [0x"));
    EXPECT_THAT(trace.text(), Not(HasSubstr("item is a dictionary")));
}

TEST(DictionaryMerge, AddsWhatIsMissingOnEveryLevel) {
    Dictionary dictionary;
    dictionary.addValue("a", "2");
    dictionary.addValue("d.y", 2);
    Dictionary other;
    other.addValue("a", "1");
    other.addValue("d.x", 1);
    const Dictionary otherBefore(other);
    dictionary.mergeDictionary(other);
    EXPECT_STREQ(dictionary.getValue("a"), "2");
    EXPECT_EQ(numberAt(dictionary, "d.x"), 1);
    EXPECT_EQ(numberAt(dictionary, "d.y"), 2);
    EXPECT_TRUE(other.equals(otherBefore)) << "the other tree is unchanged";
}

// Deliberate: a merge overwrites nothing in the receiving tree, not even a text by a text.
TEST(DictionaryMerge, TheReceivingTreeWinsEveryConflict) {
    Dictionary dictionary;
    dictionary.addValue("d", "leaf");
    dictionary.addValue("e.x", "deep");
    dictionary.addValue("s", "mine");
    const Dictionary before(dictionary);
    Dictionary other;
    other.addValue("d.x", 1);
    other.addValue("e", "leaf");
    other.addValue("s", "theirs");
    TraceCapture trace;
    dictionary.mergeDictionary(other);
    EXPECT_TRUE(dictionary.equals(before));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] merging under root\n"));
    for (const char* key : {"d", "e", "s"}) {
        EXPECT_THAT(trace.text(), HasSubstr(std::string(">> [D] Looking for merge key ") + key + "\n"));
        EXPECT_THAT(trace.text(),
                    HasSubstr(std::string(">> [D] incompatible structure for key ") + key + "\n"));
    }
}

TEST(DictionaryMerge, StoresDeepCopies) {
    Dictionary dictionary;
    Dictionary other;
    other.addValue("d.x", 1);
    BasicItem odd("name", "v");
    other.setItem("key", odd);
    dictionary.mergeDictionary(other);
    other.addValue("d.x", 2);
    EXPECT_EQ(numberAt(dictionary, "d.x"), 1);
    EXPECT_EQ(dictionary.getItem("key")->getName(), "name");
}

TEST(DictionaryMerge, TakesTheTreeItselfOrAPartOfIt) {
    Dictionary dictionary;
    dictionary.addValue("a.b.c", "v");
    const Dictionary before(dictionary);
    dictionary.mergeDictionary(dictionary);
    EXPECT_TRUE(dictionary.equals(before));
    dictionary.mergeDictionary(*dictionary.getItem("a")->getAsDictionary());
    EXPECT_STREQ(dictionary.getValue("b.c"), "v");
    dictionary.getItem("a.b")->getAsDictionary()->mergeDictionary(dictionary);
    EXPECT_STREQ(dictionary.getValue("a.b.a.b.c"), "v");
    EXPECT_STREQ(dictionary.getValue("a.b.b.c"), "v");
}
