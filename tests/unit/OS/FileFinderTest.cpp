#include "FileFinder.h"
#include "PatternFileFinder.h"

#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Trees.h"
#include "WithoutPrivileges.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> rest(FileFinder& finder) {
    std::vector<std::string> names;
    for (std::string name; finder.findNextFile(name);)
        names.push_back(name);
    return names;
}

std::vector<std::string> sorted(std::vector<std::string> names) {
    std::sort(names.begin(), names.end());
    return names;
}

class FileFinderTest : public testing::Test {
protected:
    void makeFile(const std::string& name) { writeFile(m_folder / name, ""); }
    void makeFolder(const std::string& name) { ASSERT_EQ(mkdir((m_folder / name).c_str(), 0777), 0); }
    void makeLink(const std::string& name, const std::string& target) {
        ASSERT_EQ(symlink(target.c_str(), (m_folder / name).c_str()), 0);
    }

    /// The names that a FileFinder finds, sorted.
    std::vector<std::string> find(const std::string& pattern) { return find(m_folder.path(), pattern); }
    static std::vector<std::string> find(const std::string& folder, const std::string& pattern) {
        FileFinder finder(folder, pattern);
        return sorted(rest(finder));
    }
    /// The names that a PatternFileFinder finds, sorted.
    std::vector<std::string> findExactly(const std::string& pattern) {
        PatternFileFinder finder(m_folder.path(), pattern);
        return sorted(rest(finder));
    }

    TemporaryFolder m_folder;
};

} // namespace

TEST_F(FileFinderTest, ThePatternTxtMatchesNamesThatEndInTxt) {
    for (const char* name : {"a.txt", "btxt", "txt", "txt.log", "TXT", "c.tx"})
        makeFile(name);
    EXPECT_THAT(find("txt"), ElementsAre("a.txt", "btxt", "txt"));
}

TEST_F(FileFinderTest, StarDotStarMatchesNamesWithoutADotToo) {
    for (const char* name : {"a.txt", "noextension", ".hidden"})
        makeFile(name);
    EXPECT_THAT(find("*.*"), ElementsAre(".hidden", "a.txt", "noextension"));
}

TEST_F(FileFinderTest, AnEmptyPatternMatchesEverything) {
    makeFile("a.txt");
    makeFile("b");
    EXPECT_THAT(find(""), ElementsAre("a.txt", "b"));
}

TEST_F(FileFinderTest, APatternThatBeginsWithAStarIsUsedAsGiven) {
    for (const char* name : {"a.txt", "b.txt.log", "c.log"})
        makeFile(name);
    EXPECT_THAT(find("*"), ElementsAre("a.txt", "b.txt.log", "c.log"));
    EXPECT_THAT(find("*.log"), ElementsAre("b.txt.log", "c.log"));
    EXPECT_THAT(find("*.txt*"), ElementsAre("a.txt", "b.txt.log"));
    EXPECT_THAT(find("*.*g"), ElementsAre("b.txt.log", "c.log"));
}

TEST_F(FileFinderTest, AnyOtherPatternMatchesTheEndOfThePath) {
    for (const char* name : {"trace_1.txt", "trace_2.txt", "old_trace_1.txt", "trace_1.txt.bak"})
        makeFile(name);
    EXPECT_THAT(find("trace_?.txt"), ElementsAre("old_trace_1.txt", "trace_1.txt", "trace_2.txt"));
    EXPECT_THAT(find("trace_1*"), ElementsAre("old_trace_1.txt", "trace_1.txt", "trace_1.txt.bak"));
}

TEST_F(FileFinderTest, APatternFileFinderUsesItsPatternExactlyAsGiven) {
    for (const char* name : {"a.txt", "txt", "noextension"})
        makeFile(name);
    EXPECT_THAT(findExactly("txt"), ElementsAre("txt"));
    EXPECT_THAT(findExactly("*.*"), ElementsAre("a.txt"));
    EXPECT_THAT(findExactly("*"), ElementsAre("a.txt", "noextension", "txt"));
    EXPECT_THAT(findExactly(""), IsEmpty());
}

TEST_F(FileFinderTest, WhatStandsBehindAStarIsNoneOfWhatStandsBeforeIt) {
    for (const char* name : {"ab", "aab", "aaab", "aaxab", "aabab", "aaba"})
        makeFile(name);
    EXPECT_THAT(findExactly("aa*ab"), ElementsAre("aaab", "aabab", "aaxab"));
}

TEST_F(FileFinderTest, TheEnumerationDescendsIntoSubfolders) {
    makeFolder("Logs");
    makeFolder("Logs/old");
    makeFile("Logs/a.txt");
    makeFile("Logs/old/b.txt");
    makeFile("c.txt");
    EXPECT_THAT(find("*"), ElementsAre("Logs", "Logs/a.txt", "Logs/old", "Logs/old/b.txt", "c.txt"));
    EXPECT_THAT(find("txt"), ElementsAre("Logs/a.txt", "Logs/old/b.txt", "c.txt"));
}

TEST_F(FileFinderTest, AFolderComesBeforeWhatItHolds) {
    makeFolder("a");
    makeFolder("a/b");
    makeFile("a/b/c");
    makeFile("d");
    FileFinder finder(m_folder.path(), "*");
    const std::vector<std::string> names = rest(finder);
    const auto at = [&names](const char* name) { return std::find(names.begin(), names.end(), name); };
    EXPECT_LT(at("a"), at("a/b"));
    EXPECT_LT(at("a/b"), at("a/b/c"));
}

TEST_F(FileFinderTest, ThePatternIsMatchedAgainstTheWholeRelativePath) {
    makeFolder("sub");
    makeFile("sub/abc");
    makeFile("abc");
    EXPECT_THAT(findExactly("a*"), ElementsAre("abc"));
    EXPECT_THAT(findExactly("sub/*"), ElementsAre("sub/abc"));
    EXPECT_THAT(findExactly("s*c"), ElementsAre("sub/abc"));
    EXPECT_THAT(findExactly("sub?abc"), ElementsAre("sub/abc"));
}

TEST_F(FileFinderTest, AQuestionMarkIsExactlyOneCharacter) {
    for (const char* name : {"ac", "abc", "abbc",
                             "a\xC3\xA9"
                             "c"})
        makeFile(name);
    EXPECT_THAT(findExactly("a?c"), ElementsAre("abc", "a\xC3\xA9"
                                                       "c"));
    EXPECT_THAT(findExactly("a??c"), ElementsAre("abbc"));
    EXPECT_THAT(findExactly("??"), ElementsAre("ac"));
}

TEST_F(FileFinderTest, NamesOutsideAsciiComeBackAsUtf8) {
    const std::string name = "caf\xC3\xA9-\xE2\x82\xAC-\xF0\x9F\x94\x91.txt";
    makeFile(name);
    EXPECT_THAT(find("txt"), ElementsAre(name));
    EXPECT_THAT(findExactly("caf\xC3\xA9*"), ElementsAre(name));
}

TEST_F(FileFinderTest, UpperAndLowerCaseDiffer) {
    makeFile("readme.TXT");
    EXPECT_THAT(find("txt"), IsEmpty());
    EXPECT_THAT(find("TXT"), ElementsAre("readme.TXT"));
}

TEST_F(FileFinderTest, NothingButStarsAndQuestionMarksIsSpecialInAPattern) {
    for (const char* name : {"a.b", "aXb", "[a]", "a", "a+", "a^$"})
        makeFile(name);
    EXPECT_THAT(findExactly("a.b"), ElementsAre("a.b"));
    EXPECT_THAT(findExactly("[a]"), ElementsAre("[a]"));
    EXPECT_THAT(findExactly("a+"), ElementsAre("a+"));
    EXPECT_THAT(findExactly("a^$"), ElementsAre("a^$"));
}

TEST_F(FileFinderTest, LinksToFoldersAreEntriesAndNotFollowed) {
    makeFolder("real");
    makeFile("real/a");
    makeLink("link", "real");
    EXPECT_THAT(find("*"), ElementsAre("link", "real", "real/a"));
}

TEST_F(FileFinderTest, ALinkBackUpTheTreeDoesNotLoop) {
    makeFolder("a");
    makeLink("a/self", ".");
    makeLink("a/up", "..");
    makeLink("a/top", m_folder.path());
    EXPECT_THAT(find("*"), ElementsAre("a", "a/self", "a/top", "a/up"));
}

TEST_F(FileFinderTest, DanglingLinksAreEntries) {
    makeLink("nowhere", "missing");
    EXPECT_THAT(find("*"), ElementsAre("nowhere"));
}

TEST_F(FileFinderTest, AFolderThatIsALinkItselfIsFollowed) {
    makeFolder("real");
    makeFile("real/a");
    makeLink("link", "real");
    EXPECT_THAT(find(m_folder / "link", "*"), ElementsAre("a"));
}

TEST_F(FileFinderTest, ATrailingSeparatorOfTheFolderChangesNothing) {
    makeFile("a");
    EXPECT_THAT(find(m_folder.path() + "/", "*"), ElementsAre("a"));
}

TEST_F(FileFinderTest, AnEmptyFolderHasNoEntries) {
    EXPECT_THAT(find("*"), IsEmpty());
}

TEST_F(FileFinderTest, AMissingFolderHasNoEntries) {
    EXPECT_THAT(find(m_folder / "missing", "*"), IsEmpty());
    EXPECT_THAT(find("", "*"), IsEmpty());
}

TEST_F(FileFinderTest, AFileInPlaceOfTheFolderHasNoEntries) {
    makeFile("file");
    EXPECT_THAT(find(m_folder / "file", "*"), IsEmpty());
}

TEST_F(FileFinderTest, AnUnreadableSubfolderIsAnEntryWithoutContent) {
    makeFolder("closed");
    makeFile("closed/a");
    makeFile("open");
    ASSERT_EQ(chmod((m_folder / "closed").c_str(), 0), 0);
    {
        const WithoutPrivileges user;
        EXPECT_THAT(find("*"), ElementsAre("closed", "open"));
    }
    ASSERT_EQ(chmod((m_folder / "closed").c_str(), 0700), 0);
}

TEST_F(FileFinderTest, FindFirstFileAndFindNextFileDoTheSame) {
    for (const char* name : {"a", "b", "c"})
        makeFile(name);
    FileFinder finder(m_folder.path(), "*");
    std::vector<std::string> names(3);
    EXPECT_TRUE(finder.findNextFile(names[0]));
    EXPECT_TRUE(finder.findFirstFile(names[1])); // goes on, does not start over
    EXPECT_TRUE(finder.findFirstFile(names[2]));
    EXPECT_THAT(sorted(names), ElementsAre("a", "b", "c"));
    EXPECT_FALSE(finder.findFirstFile(names[0]));
    EXPECT_FALSE(finder.findNextFile(names[0]));
}

TEST_F(FileFinderTest, TheNameStaysAsItWasWhenThereIsNoMore) {
    FileFinder finder(m_folder.path(), "*");
    std::string name = "before";
    EXPECT_FALSE(finder.findFirstFile(name));
    EXPECT_EQ(name, "before");
}

TEST_F(FileFinderTest, AFolderThatGoesAwayMeanwhileEndsItsPartOnly) {
    makeFolder("a");
    makeFile("a/inside");
    makeFile("b");
    FileFinder finder(m_folder.path(), "*");
    std::string name;
    ASSERT_TRUE(finder.findFirstFile(name));
    unlink((m_folder / "a/inside").c_str());
    rmdir((m_folder / "a").c_str());
    rest(finder);
    EXPECT_FALSE(finder.findNextFile(name));
}

TEST_F(FileFinderTest, ALargeFolderIsFoundWhole) {
    std::vector<std::string> expected;
    for (int i = 0; i < 3000; ++i) {
        expected.push_back("file-" + std::to_string(i));
        makeFile(expected.back());
    }
    EXPECT_EQ(find("*"), sorted(expected));
}

TEST_F(FileFinderTest, AVeryDeepTreeDoesNoHarm) {
    const std::string top = m_folder / "top";
    ASSERT_EQ(mkdir(top.c_str(), 0777), 0);
    makeDeepTree(top, "level", 1000);
    EXPECT_GE(find(top, "*").size(), 500u);
    removeDeepTree(top);
}

TEST_F(FileFinderTest, HostilePatternsEndSoon) {
    makeFile(std::string(250, 'a'));
    std::string pattern;
    for (int i = 0; i < 30; ++i)
        pattern += "*a";
    EXPECT_THAT(findExactly(pattern + "*b"), IsEmpty());
    EXPECT_EQ(findExactly(pattern + "*").size(), 1u);
    EXPECT_THAT(findExactly(std::string(100000, '*') + "b"), IsEmpty());
    EXPECT_THAT(findExactly(std::string(100000, '?')), IsEmpty());
}

TEST_F(FileFinderTest, TwoSearchesDoNotDisturbEachOther) {
    makeFile("a");
    makeFile("b");
    FileFinder first(m_folder.path(), "*");
    PatternFileFinder second(m_folder.path(), "*");
    std::string name;
    EXPECT_TRUE(first.findFirstFile(name));
    EXPECT_TRUE(second.findFirstFile(name));
    EXPECT_EQ(rest(first).size(), 1u);
    EXPECT_EQ(rest(second).size(), 1u);
}

TEST_F(FileFinderTest, ThreadsSearchAtTheSameTime) {
    makeFolder("sub");
    makeFile("sub/a");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] {
            for (int n = 0; n < 20; ++n) {
                EXPECT_THAT(find("*"), ElementsAre("sub", "sub/a"));
                EXPECT_THAT(findExactly("*a"), ElementsAre("sub/a"));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}
