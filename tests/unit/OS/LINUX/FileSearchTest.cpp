#include "FileFinder.h"

#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Trees.h"
#include "WrappedCalls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dirent.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

// Behaviour of this host that goes beyond the common contract.

using testing::UnorderedElementsAre;

namespace {

int openDescriptors() {
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir("/proc/self/fd"), closedir);
    int count = 0;
    while (readdir(directory.get()) != nullptr)
        ++count;
    return count;
}

std::vector<std::string> find(const std::string& folder, const std::string& pattern) {
    FileFinder finder(folder, pattern);
    std::vector<std::string> names;
    for (std::string name; finder.findNextFile(name);)
        names.push_back(name);
    return names;
}

} // namespace

TEST(FileSearchLinuxTest, ATreeDeeperThanAPathMayBeLongIsFoundWhole) {
    const TemporaryFolder folder;
    const std::string top = folder / "top";
    ASSERT_EQ(mkdir(top.c_str(), 0777), 0);
    const int levels = 1500; // 9,000 characters
    makeDeepTree(top, "level", levels);
    const std::vector<std::string> names = find(top, "*");
    EXPECT_EQ(names.size(), static_cast<size_t>(levels));
    EXPECT_EQ(names.back().size(), levels * std::string("/level").size() - 1);
    removeDeepTree(top);
}

TEST(FileSearchLinuxTest, LongNamesInADeepTreeAreFoundWhole) {
    const TemporaryFolder folder;
    const std::string top = folder / "top";
    ASSERT_EQ(mkdir(top.c_str(), 0777), 0);
    makeDeepTree(top, std::string(255, 'n'), 40);
    EXPECT_EQ(find(top, "*").size(), 40u);
    removeDeepTree(top);
}

TEST(FileSearchLinuxTest, FileSystemsThatDoNotTellTheTypesOfEntriesAreSearchedTheSameWay) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkdir((folder / "sub").c_str(), 0777), 0);
    writeFile(folder / "sub/a", "");
    ASSERT_EQ(symlink("sub", (folder / "link").c_str()), 0);
    WrappedCalls::reset();
    WrappedCalls::get().entryTypesHidden = true;
    const std::vector<std::string> names = find(folder.path(), "*");
    WrappedCalls::reset();
    EXPECT_THAT(names, UnorderedElementsAre("sub", "sub/a", "link"));
}

TEST(FileSearchLinuxTest, NamesThatAreNoUtf8ComeBackByteForByte) {
    const TemporaryFolder folder;
    const std::vector<std::string> names = {"\xFF\xFE.txt", "\x80.txt", "caf\xE9.txt", "line\nfeed.txt"};
    for (const std::string& name : names)
        writeFile(folder / name, "");
    EXPECT_THAT(find(folder.path(), "txt"), UnorderedElementsAre(names[0], names[1], names[2], names[3]));
    EXPECT_THAT(find(folder.path(), "*?feed.txt"), UnorderedElementsAre(names[3]));
}

TEST(FileSearchLinuxTest, ASearchKeepsNothingOpenBetweenTwoCalls) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkdir((folder / "sub").c_str(), 0777), 0);
    writeFile(folder / "sub/a", "");
    const int before = openDescriptors();
    FileFinder finder(folder.path(), "*");
    std::string name;
    EXPECT_TRUE(finder.findFirstFile(name));
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_TRUE(finder.findNextFile(name));
    EXPECT_EQ(openDescriptors(), before);
}
