#include "CountedAllocations.h"
#include "Dictionary.h"
#include "TemporaryFolder.h"

#include <cstdlib>
#include <gtest/gtest.h>

// Keys that are too long for std::string to hold without an allocation.
static const std::string DICTIONARY = "a dictionary with a long name";
static const std::string LEAF = "a leaf with a name as long as that";
static const std::string PATH = DICTIONARY + "." + DICTIONARY + "." + DICTIONARY + "." + LEAF;

// One allocation for the entry, one for the item. A document needs only a few more, whatever its size.
TEST(LoadAllocation, AStringTakesTwo) {
    const TemporaryFolder folder;
    Dictionary original;
    for (int number = 100; number < 200; ++number)
        original.addValue("key" + std::to_string(number), "a text that is longer than a short one");
    original.saveToFile(folder / "list");
    Dictionary dictionary;
    const std::int64_t before = allocations;
    dictionary.loadFromFile(folder / "list");
    EXPECT_LT(allocations - before, 2 * 100 + 10);
    EXPECT_STREQ(dictionary.getValue("key199"), "a text that is longer than a short one");
}

TEST(LoadAllocation, WhereMemoryRunsOutTheFormerChildrenStay) {
    const TemporaryFolder folder;
    Dictionary original;
    original.addValue(PATH, "a text that is longer than a short one");
    original.saveToFile(folder / "list");
    bool isLoaded = false;
    for (int left = 0; !isLoaded; ++left) {
        Dictionary dictionary;
        dictionary.addValue("former", 5);
        allocationsEnd = allocations + left;
        try {
            dictionary.loadFromFile(folder / "list");
            isLoaded = true;
        } catch (const std::bad_alloc&) {
        }
        allocationsEnd = INT64_MAX;
        EXPECT_TRUE(dictionary.hasKey("former")) << left;
        EXPECT_EQ(dictionary.contains(PATH), isLoaded) << left;
    }
}

class LookUpAllocation : public testing::Test {
protected:
    LookUpAllocation() {
        m_tree.addValue(PATH, "a text that is longer than a short one");
        m_tree.addValue(PATH + " too", 5);
    }

    template <typename LookUp>
    static std::int64_t countIn(const LookUp& lookUp) {
        const std::int64_t before = allocations;
        lookUp();
        return allocations - before;
    }

    Dictionary m_tree;
    const std::string m_number = PATH + " too";
    const std::string m_missing = PATH + " three";
    const std::string m_belowALeaf = PATH + "." + LEAF;
};

TEST_F(LookUpAllocation, CopyingAPathWouldBeCounted) {
    std::string copy;
    EXPECT_EQ(countIn([&copy] { copy = PATH; }), 1);
}

TEST_F(LookUpAllocation, AnItemIsFoundWithoutAny) {
    const Item* item = nullptr;
    EXPECT_EQ(countIn([this, &item] { item = m_tree.getItem(PATH); }), 0);
    EXPECT_NE(item, nullptr);
    EXPECT_EQ(countIn([this, &item] { item = m_tree.getItem(PATH.c_str()); }), 0);
    EXPECT_NE(item, nullptr);
}

TEST_F(LookUpAllocation, AValueIsFoundWithoutAny) {
    const char* text = nullptr;
    EXPECT_EQ(countIn([this, &text] { text = m_tree.getValue(PATH); }), 0);
    EXPECT_STREQ(text, "a text that is longer than a short one");
    int number = 0;
    EXPECT_EQ(countIn([this, &number] { m_tree.getValueAs(m_number, number); }), 0);
    EXPECT_EQ(number, 5);
}

TEST_F(LookUpAllocation, WhatIsMissingIsMissedWithoutAny) {
    const Item* item = &m_tree;
    EXPECT_EQ(countIn([this, &item] { item = m_tree.getItem(m_missing); }), 0);
    EXPECT_EQ(item, nullptr);
    item = &m_tree;
    EXPECT_EQ(countIn([this, &item] { item = m_tree.getItem(m_belowALeaf); }), 0);
    EXPECT_EQ(item, nullptr);
}
