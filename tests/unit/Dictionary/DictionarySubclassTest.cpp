#include "BasicItem.h"
#include "Dictionary.h"
#include "SmallStack.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <memory>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StrEq;

// Whenever a tree calls an operation of its dictionaries, its leaves or itself, it calls a subclass's
// override.

namespace {

/// Overrides the operations that a tree calls on its dictionaries. It gets the rest of the path undivided.
class Answering : public Dictionary {
public:
    using Dictionary::Dictionary;

    Item* clone() override { return std::make_unique<Answering>(*this).release(); }
    using Dictionary::marshall;
    std::string marshall(const std::string& indent) override { return indent + "<answer/>\n"; }
    using Dictionary::toString;
    std::string toString(const std::string& indent) override { return indent + "an answer\n"; }
    using Dictionary::getItem;
    Item* getItem(const std::string& path) const override {
        return path == "asked.for" ? &m_answer : Dictionary::getItem(path);
    }
    using Dictionary::contains;
    bool contains(const std::string& path) override { return path == "asked.for"; }

    BasicItem& answer() const { return m_answer; }

private:
    mutable BasicItem m_answer{"for", "the answer"};
};

/// Hides one of its keys, and claims to have one that it lacks.
class Denying : public Dictionary {
public:
    using Dictionary::Dictionary;

    Item* clone() override { return std::make_unique<Denying>(*this).release(); }
    bool hasKey(const std::string& key) const override {
        return key == "claimed" || (key != "hidden" && Dictionary::hasKey(key));
    }
};

class AnsweringLeaf : public BasicItem {
public:
    using BasicItem::BasicItem;

    Item* clone() override { return std::make_unique<AnsweringLeaf>(*this).release(); }
    bool contains(const std::string& path) override { return path == "asked.for"; }
};

/// Records the text that it is given to read.
class Reading : public Dictionary {
public:
    using Dictionary::unMarshall;
    void unMarshall(std::stringstream& in) override {
        read = in.str().substr(static_cast<std::size_t>(in.tellg()));
        Dictionary::unMarshall(in);
    }

    std::string read = "(nothing)";
};

class DictionarySubclass : public testing::Test {
protected:
    DictionarySubclass() {
        Answering below("d");
        m_tree.setItem("d", below);
        m_below = dynamic_cast<Answering*>(m_tree.getItem("d"));
    }

    Dictionary m_tree;
    Answering* m_below;
};

} // namespace

TEST_F(DictionarySubclass, IsStoredAsItIs) {
    ASSERT_NE(m_below, nullptr);
}

TEST_F(DictionarySubclass, WritesItsOwnBody) {
    EXPECT_EQ(m_tree.marshall(""), "<dict>\n\t<key>d</key>\n\t<answer/>\n</dict>\n");
    m_tree.setItem("e.d", *m_below);
    EXPECT_THAT(m_tree.marshall(""), HasSubstr("\t\t<key>d</key>\n\t\t<answer/>\n"));
}

TEST_F(DictionarySubclass, WritesItsOwnFile) {
    const TemporaryFolder folder;
    m_below->saveToFile(folder / "list");
    EXPECT_EQ(readFile(folder / "list"), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                         "<plist version=\"1.0\">\n<answer/>\n</plist>");
}

TEST_F(DictionarySubclass, ReadsItsOwnFileFromTheThirdLineToTheFirstZeroByte) {
    const TemporaryFolder folder;
    const std::string body = "<dict>\n<key>a</key>\n<string>x</string>\n</dict>\n</plist>";
    writeFile(folder / "list", "<?xml?>\n<plist version=\"1.0\">\n" + body + '\0' + "behind");
    Reading dictionary;
    dictionary.addValue("before", "kept");
    dictionary.loadFromFile(folder / "list");
    EXPECT_EQ(dictionary.read, body);
    EXPECT_STREQ(dictionary.getValue("a"), "x");
    EXPECT_STREQ(dictionary.getValue("before"), "kept");
}

TEST_F(DictionarySubclass, ReadsItsOwnFileHoweverLongItIs) {
    const TemporaryFolder folder;
    std::string body = "<dict>\n";
    for (int number = 0; number < 10000; ++number)
        body += "<key>key " + std::to_string(number) + "</key>\n<string>a text</string>\n";
    body += "</dict>\n</plist>";
    writeFile(folder / "list", "<?xml?>\n<plist version=\"1.0\">\n" + body);
    Reading dictionary;
    dictionary.loadFromFile(folder / "list");
    EXPECT_TRUE(dictionary.read == body);
    EXPECT_STREQ(dictionary.getValue("key 9999"), "a text");
}

TEST_F(DictionarySubclass, IsNotAskedToReadWhatIsNoPropertyList) {
    const TemporaryFolder folder;
    writeFile(folder / "list", "<?xml?>\n<plist version=\"2.0\">\n<dict>\n</dict>\n");
    Reading dictionary;
    EXPECT_ANY_THROW(dictionary.loadFromFile(folder / "list"));
    EXPECT_ANY_THROW(dictionary.loadFromFile(folder.path())); // a folder can be opened, but not read
    EXPECT_EQ(dictionary.read, "(nothing)");
}

TEST_F(DictionarySubclass, ShowsItselfInATrace) {
    EXPECT_THAT(m_tree.toString(""), testing::EndsWith(" 'root' items :\tan answer\n"));
}

TEST_F(DictionarySubclass, LooksItsItemsUpItself) {
    Item* const answer = &m_below->answer();
    EXPECT_EQ(m_tree.getItem("d.asked.for"), answer);
    EXPECT_EQ(m_tree.getItem(std::string("d.asked.for")), answer);
    EXPECT_STREQ(m_tree.getValue("d.asked.for"), "the answer");
    m_tree.setItem("e.d", *m_below);
    EXPECT_STREQ(m_tree.getValue("e.d.asked.for"), "the answer");
    EXPECT_EQ(m_tree.getItem("d.another"), nullptr);
}

TEST_F(DictionarySubclass, LooksItsItemsUpItselfWhateverWayItIsAsked) {
    Item* const answer = &m_below->answer();
    EXPECT_EQ(m_below->getItem("asked.for"), answer);
    EXPECT_STREQ(m_below->getValue("asked.for"), "the answer");
    int untouched = 77;
    EXPECT_FALSE(m_below->getValueAs("asked.for", untouched));
    EXPECT_EQ(m_tree.findItem("asked.for"), answer);
    EXPECT_STREQ(m_tree.findValue("asked.for"), "the answer");
    EXPECT_THAT(m_tree.findItems("asked.for"), ElementsAre(answer));
    EXPECT_THAT(m_tree.findValues("asked.for"), ElementsAre(StrEq("the answer")));
}

TEST_F(DictionarySubclass, SaysItselfWhatItContains) {
    EXPECT_TRUE(m_tree.contains("d.asked.for"));
    EXPECT_FALSE(m_tree.contains("d.another"));
    m_tree.setItem("e.d", *m_below);
    EXPECT_TRUE(m_tree.contains("e.d.asked.for"));
}

TEST_F(DictionarySubclass, ALeafSaysItselfWhatItContains) {
    Dictionary tree;
    AnsweringLeaf leaf("leaf", "x");
    tree.setItem("leaf", leaf);
    tree.addValue("a", "an ordinary one before it");
    EXPECT_TRUE(tree.contains("a.asked.for"));
    EXPECT_FALSE(tree.contains("a.another"));
}

TEST_F(DictionarySubclass, IsAskedWhichKeysItHas) {
    Denying denying("d");
    denying.addValue("hidden", "x");
    denying.addValue("seen", "y");
    m_tree.setItem("d", denying);
    EXPECT_EQ(m_tree.getItem("d.hidden"), nullptr);
    EXPECT_FALSE(m_tree.contains("d.hidden"));
    EXPECT_STREQ(m_tree.getValue("d.seen"), "y");
    BasicItem hidden("hidden", "x");
    EXPECT_EQ(denying.getItemPath(hidden), "");
    Dictionary other;
    other.addValue("hidden", "z");
    denying.mergeDictionary(other);
    EXPECT_STREQ(denying.getFirstItem()->getValue(), "z");
    denying.setItem("hidden.below", hidden);
    EXPECT_NE(denying.getFirstItem()->getAsDictionary(), nullptr);
}

TEST_F(DictionarySubclass, AKeyThatIsOnlyClaimedDoesNoHarm) {
    Denying denying("d");
    EXPECT_EQ(denying.getItem("claimed"), nullptr);
    EXPECT_EQ(denying.getItem("claimed.below"), nullptr);
    BasicItem item("claimed", "x");
    EXPECT_EQ(denying.getItemPath(item), "");
    denying.removeItem(item);
    denying.removeItem("claimed.below");
    EXPECT_FALSE(denying.equals(m_tree));
    Dictionary other;
    other.addValue("claimed", "x");
    denying.mergeDictionary(other);
    denying.setItem("claimed.below", item);
}

TEST_F(DictionarySubclass, IsClonedWhereATreeIsMergedOrAdded) {
    Dictionary merged;
    merged.addValue("e.x", 1);
    Dictionary other;
    other.setItem("e.d", *m_below);
    merged.mergeDictionary(m_tree);
    merged.mergeDictionary(other);
    EXPECT_NE(dynamic_cast<Answering*>(merged.getItem("d")), nullptr);
    EXPECT_NE(dynamic_cast<Answering*>(merged.getItem("e.d")), nullptr);
    Dictionary added;
    added.addValue("e.x", 1);
    added.addDictionary("e", m_tree);
    EXPECT_NE(dynamic_cast<Answering*>(added.getItem("e.d")), nullptr);
}

// A copy of a tree makes ordinary dictionaries of all its dictionaries; only a clone keeps their types.
TEST_F(DictionarySubclass, IsAnOrdinaryDictionaryInACopyOfItsTreeDeliberately) {
    const Dictionary copy(m_tree);
    EXPECT_EQ(dynamic_cast<Answering*>(copy.getItem("d")), nullptr);
    EXPECT_NE(copy.getItem("d")->getAsDictionary(), nullptr);
}

static void useADeepTreeOfSubclasses() {
    Denying tree;
    Dictionary* innermost = &tree;
    std::string path = "a";
    for (int level = 2; level <= Dictionary::MAXIMUM_DEPTH; ++level) {
        Denying below("a");
        innermost->setItem("a", below);
        innermost = innermost->getFirstItem()->getAsDictionary();
        path += ".a";
    }
    innermost->addValue("a", "x");
    EXPECT_STREQ(tree.getValue(path), "x");
    EXPECT_TRUE(tree.contains(path));
    EXPECT_STREQ(tree.findValue(path), "x");
    EXPECT_THAT(tree.marshall(""), HasSubstr("<string>x</string>"));
    EXPECT_THAT(tree.toString(""), HasSubstr("value : 'x'"));
    Dictionary merged;
    merged.mergeDictionary(tree);
    EXPECT_STREQ(merged.getValue(path), "x");
}

TEST_F(DictionarySubclass, ATreeOfThemDoesNotExhaustASmallStack) {
    runWithASmallStack(useADeepTreeOfSubclasses);
}
