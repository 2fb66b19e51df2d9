#include "FileSystemManagement.h"

#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Trees.h"
#include "WithoutPrivileges.h"
#include "WrappedCalls.h"

#include <CoreServices/CoreServices.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace FileSystemManagement;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Not;

namespace {

class FileSystemManagementTest : public testing::Test {
protected:
    FileSystemManagementTest() { WrappedCalls::reset(); }
    ~FileSystemManagementTest() override { setenv("HOME", m_home.c_str(), 1); }

    void makeFolder(const std::string& name) { ASSERT_EQ(mkdir((m_folder / name).c_str(), 0777), 0); }
    void makeLink(const std::string& name, const std::string& target) {
        ASSERT_EQ(symlink(target.c_str(), (m_folder / name).c_str()), 0);
    }
    bool exists(const std::string& name) { return access((m_folder / name).c_str(), F_OK) == 0; }

    const std::string m_home = getenv("HOME");
    TemporaryFolder m_folder;
    KeepMask m_mask{022};
};

class CopyFolderTest : public FileSystemManagementTest {
protected:
    /// Files with the same names in the source and in a folder of it.
    void makeSource(std::initializer_list<const char*> names) {
        makeFolder("source");
        makeFolder("source/sub");
        for (const char* name : names) {
            writeFile(m_folder / "source" + "/" + name, name);
            writeFile(m_folder / "source/sub" + "/" + name, name);
        }
    }
    bool copy(const std::string& pattern) {
        return copyFolder(m_folder / "source", m_folder / "copy", pattern);
    }
    bool copied(const std::string& name) { return exists("copy/" + name); }
};

bool isFolder(const std::string& path) {
    struct stat info;
    return lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool isLink(const std::string& path) {
    struct stat info;
    return lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode);
}

/// A file that reads as `size` zeros and takes no space.
void makeSparseFile(const std::string& path, off_t size) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT, 0666);
    ASSERT_LE(0, file);
    ASSERT_EQ(ftruncate(file, size), 0);
    close(file);
}

} // namespace

TEST_F(FileSystemManagementTest, FoldersAreSeparatedBySlashes) {
    EXPECT_EQ(getFolderSeparator(), '/');
}

TEST_F(FileSystemManagementTest, ExistFileIsTrueForEveryKindOfEntry) {
    writeFile(m_folder / "file", "");
    makeFolder("folder");
    makeLink("dangling", "missing");
    ASSERT_EQ(mkfifo((m_folder / "pipe").c_str(), 0666), 0);
    EXPECT_TRUE(existFile(m_folder / "file"));
    EXPECT_TRUE(existFile(m_folder / "folder"));
    EXPECT_TRUE(existFile(m_folder / "dangling"));
    EXPECT_TRUE(existFile(m_folder / "pipe"));
    EXPECT_FALSE(existFile(m_folder / "missing"));
    EXPECT_FALSE(existFile(""));
}

TEST_F(FileSystemManagementTest, ExistFolderIsTrueForFoldersAndLinksToThem) {
    writeFile(m_folder / "file", "");
    makeFolder("folder");
    makeLink("link", "folder");
    makeLink("dangling", "missing");
    EXPECT_TRUE(existFolder(m_folder / "folder"));
    EXPECT_TRUE(existFolder(m_folder / "folder/"));
    EXPECT_TRUE(existFolder(m_folder / "link"));
    EXPECT_FALSE(existFolder(m_folder / "file"));
    EXPECT_FALSE(existFolder(m_folder / "dangling"));
    EXPECT_FALSE(existFolder(m_folder / "missing"));
    EXPECT_FALSE(existFolder(""));
}

TEST_F(FileSystemManagementTest, AFileBeyondFourGigabytesExists) {
    makeSparseFile(m_folder / "huge", 5000000000);
    EXPECT_TRUE(existFile(m_folder / "huge"));
}

TEST_F(FileSystemManagementTest, CreateFolderMakesEveryMissingFolderWithMode0777) {
    const KeepMask mask(077);
    EXPECT_TRUE(createFolder(m_folder / "a/b/c/"));
    for (const char* name : {"a", "a/b", "a/b/c"}) {
        EXPECT_TRUE(isFolder(m_folder / name));
        EXPECT_EQ(modeOf(m_folder / name), 0777u) << name;
    }
}

TEST_F(FileSystemManagementTest, CreateFolderCalledAgainCreatesNothing) {
    ASSERT_TRUE(createFolder(m_folder / "a/b"));
    ASSERT_EQ(chmod((m_folder / "a").c_str(), 0555), 0);
    EXPECT_TRUE(createFolder(m_folder / "a/b/"));
    EXPECT_EQ(modeOf(m_folder / "a"), 0555u);
    ASSERT_EQ(chmod((m_folder / "a").c_str(), 0755), 0);
}

// DELIBERATE: shared folders need the mode exactly, so the mask stays 0 for the whole process.
TEST_F(FileSystemManagementTest, CreateFolderLeavesTheProcessMaskAtZero) {
    EXPECT_TRUE(createFolder(m_folder.path()));
    EXPECT_EQ(KeepMask::current(), 0u);
}

TEST_F(FileSystemManagementTest, CreateFolderOfAnEmptyPathFailsAndLeavesTheMask) {
    EXPECT_FALSE(createFolder(""));
    EXPECT_EQ(KeepMask::current(), 022u);
}

TEST_F(FileSystemManagementTest, CreateFolderToleratesLeadingDoubledAndTrailingSeparators) {
    EXPECT_TRUE(createFolder("/" + m_folder.path() + "//a///b//"));
    EXPECT_TRUE(isFolder(m_folder / "a/b"));
    EXPECT_TRUE(createFolder("/"));
    EXPECT_TRUE(createFolder("//"));
}

TEST_F(FileSystemManagementTest, CreateFolderTakesPathsFromTheCurrentFolder) {
    const int before = open(".", O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(chdir(m_folder.path().c_str()), 0);
    EXPECT_TRUE(createFolder("x"));
    EXPECT_TRUE(createFolder("a/b"));
    EXPECT_TRUE(createFolder("./y/../z"));
    ASSERT_EQ(fchdir(before), 0);
    close(before);
    EXPECT_TRUE(isFolder(m_folder / "x"));
    EXPECT_TRUE(isFolder(m_folder / "a/b"));
    EXPECT_TRUE(isFolder(m_folder / "z"));
}

TEST_F(FileSystemManagementTest, CreateFolderFollowsLinksToFolders) {
    makeFolder("real");
    makeLink("link", "real");
    EXPECT_TRUE(createFolder(m_folder / "link/a"));
    EXPECT_TRUE(isFolder(m_folder / "real/a"));
}

TEST_F(FileSystemManagementTest, CreateFolderFailsAtAFileInTheWayAndLeavesWhatItMade) {
    writeFile(m_folder / "file", "");
    EXPECT_FALSE(createFolder(m_folder / "file"));
    EXPECT_FALSE(createFolder(m_folder / "file/below"));
    ASSERT_TRUE(createFolder(m_folder / "a"));
    writeFile(m_folder / "a/file", "");
    EXPECT_FALSE(createFolder(m_folder / "a/new/../file/below"));
    EXPECT_TRUE(isFolder(m_folder / "a/new"));
}

TEST_F(FileSystemManagementTest, CreateFolderFailsWhereThereIsNoPermission) {
    makeFolder("closed");
    ASSERT_EQ(chmod((m_folder / "closed").c_str(), 0555), 0);
    const WithoutPrivileges user;
    EXPECT_FALSE(createFolder(m_folder / "closed/a"));
}

TEST_F(FileSystemManagementTest, CreateFolderFailsForAPathThatIsTooLong) {
    EXPECT_FALSE(createFolder(m_folder / std::string(NAME_MAX + 1, 'n')));
    EXPECT_FALSE(createFolder(m_folder / std::string(1000000, '/') + "x"));
}

TEST_F(FileSystemManagementTest, ThreadsThatCreateTheSameFolderAllSucceed) {
    for (int round = 0; round < 50; ++round) {
        const std::string path = m_folder / std::to_string(round) + "/a/b/c";
        std::atomic<int> failures{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] { failures += !createFolder(path); });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(failures, 0);
    }
}

TEST_F(FileSystemManagementTest, CreateFileMakesTheFolderAndTheFile) {
    EXPECT_TRUE(createFile(m_folder / "a/b", "file"));
    EXPECT_EQ(readFile(m_folder / "a/b/file"), "");
    EXPECT_TRUE(createFile(m_folder / "a/b/", "other"));
    EXPECT_TRUE(exists("a/b/other"));
}

TEST_F(FileSystemManagementTest, CreateFileKeepsTheContentOfAnExistingFile) {
    writeFile(m_folder / "file", "content");
    EXPECT_TRUE(createFile(m_folder.path(), "file"));
    EXPECT_EQ(readFile(m_folder / "file"), "content");
}

TEST_F(FileSystemManagementTest, CreateFileFailsWithoutAFolder) {
    EXPECT_FALSE(createFile("", "file"));
    writeFile(m_folder / "file", "");
    EXPECT_FALSE(createFile(m_folder / "file", "below"));
}

TEST_F(FileSystemManagementTest, CreateFileFailsWhenTheFileCannotBeOpened) {
    makeFolder("folder");
    EXPECT_FALSE(createFile(m_folder.path(), "folder"));
    EXPECT_FALSE(createFile(m_folder.path(), "missing/file"));
}

// DELIBERATE: a backslash at the end of the folder counts as a separator, although it is none on this
// platform.
TEST_F(FileSystemManagementTest, CreateFilePutsNoSeparatorAfterABackslash) {
    EXPECT_TRUE(createFile(m_folder / "dir\\", "file"));
    EXPECT_TRUE(isFolder(m_folder / "dir\\"));
    EXPECT_TRUE(exists("dir\\file"));
    EXPECT_FALSE(exists("dir\\/file"));
}

// DELIBERATE: callers are written against the inverted result.
TEST_F(FileSystemManagementTest, DeleteFileOfAnExistingFileRemovesItAndReturnsFalse) {
    writeFile(m_folder / "file", "");
    EXPECT_FALSE(deleteFile(m_folder / "file"));
    EXPECT_FALSE(exists("file"));
}

TEST_F(FileSystemManagementTest, DeleteFileOfAMissingFileReturnsTrue) {
    EXPECT_TRUE(deleteFile(m_folder / "missing"));
    EXPECT_TRUE(deleteFile(""));
}

TEST_F(FileSystemManagementTest, DeleteFileRemovesEmptyFoldersAndLinksThemselves) {
    makeFolder("empty");
    makeFolder("full");
    writeFile(m_folder / "full/a", "");
    makeLink("link", "full");
    EXPECT_FALSE(deleteFile(m_folder / "empty"));
    EXPECT_FALSE(deleteFile(m_folder / "link"));
    EXPECT_TRUE(deleteFile(m_folder / "full"));
    EXPECT_TRUE(exists("full/a"));
}

TEST_F(FileSystemManagementTest, DeleteFolderRemovesATree) {
    ASSERT_TRUE(createFolder(m_folder / "a/b/c"));
    writeFile(m_folder / "a/file", "");
    writeFile(m_folder / "a/.hidden", "");
    writeFile(m_folder / "a/b/c/file", "");
    ASSERT_EQ(mkfifo((m_folder / "a/pipe").c_str(), 0666), 0);
    EXPECT_TRUE(deleteFolder(m_folder / "a", true));
    EXPECT_FALSE(exists("a"));
}

TEST_F(FileSystemManagementTest, DeleteFolderToleratesATrailingSeparator) {
    ASSERT_TRUE(createFolder(m_folder / "a/b"));
    writeFile(m_folder / "a/b/file", "");
    EXPECT_TRUE(deleteFolder(m_folder / "a/", true));
    EXPECT_FALSE(exists("a"));
}

TEST_F(FileSystemManagementTest, DeleteFolderMayKeepTheFolderItself) {
    ASSERT_TRUE(createFolder(m_folder / "a/b"));
    writeFile(m_folder / "a/file", "");
    EXPECT_TRUE(deleteFolder(m_folder / "a", false));
    EXPECT_TRUE(isFolder(m_folder / "a"));
    EXPECT_FALSE(exists("a/b"));
    EXPECT_FALSE(exists("a/file"));
}

// DELIBERATE: an empty folder that is to stay leaves nothing to delete, and that gives false.
TEST_F(FileSystemManagementTest, DeleteFolderThatKeepsAnEmptyFolderReturnsFalse) {
    makeFolder("empty");
    EXPECT_FALSE(deleteFolder(m_folder / "empty", false));
    EXPECT_TRUE(isFolder(m_folder / "empty"));
}

TEST_F(FileSystemManagementTest, DeleteFolderRemovesAnEmptyFolder) {
    makeFolder("empty");
    EXPECT_TRUE(deleteFolder(m_folder / "empty", true));
    EXPECT_FALSE(exists("empty"));
}

TEST_F(FileSystemManagementTest, DeleteFolderOfAMissingFolderReturnsFalse) {
    EXPECT_FALSE(deleteFolder(m_folder / "missing", true));
    EXPECT_FALSE(deleteFolder(m_folder / "missing", false));
    EXPECT_FALSE(deleteFolder("", true));
    writeFile(m_folder / "file", "");
    EXPECT_FALSE(deleteFolder(m_folder / "file", true));
    EXPECT_TRUE(exists("file"));
}

TEST_F(FileSystemManagementTest, DeleteFolderRemovesLinksAndNotWhatTheyLeadTo) {
    ASSERT_TRUE(createFolder(m_folder / "outside/sub"));
    writeFile(m_folder / "outside/file", "kept");
    makeFolder("a");
    makeLink("a/folder", "../outside");
    makeLink("a/file", "../outside/file");
    makeLink("a/self", ".");
    makeLink("a/dangling", "missing");
    EXPECT_TRUE(deleteFolder(m_folder / "a", true));
    EXPECT_EQ(readFile(m_folder / "outside/file"), "kept");
    EXPECT_TRUE(isFolder(m_folder / "outside/sub"));
}

TEST_F(FileSystemManagementTest, DeleteFolderOfALinkEmptiesTheFolderBehindIt) {
    makeFolder("real");
    writeFile(m_folder / "real/file", "");
    makeLink("link", "real");
    EXPECT_FALSE(deleteFolder(m_folder / "link", true)); // a link is no folder to remove
    EXPECT_TRUE(isFolder(m_folder / "real"));
    EXPECT_FALSE(exists("real/file"));
}

TEST_F(FileSystemManagementTest, DeleteFolderRemovesWhatItCanAndIgnoresTheRest) {
    ASSERT_TRUE(createFolder(m_folder / "a/closed"));
    writeFile(m_folder / "a/closed/kept", "");
    writeFile(m_folder / "a/z", "");
    ASSERT_EQ(chmod((m_folder / "a/closed").c_str(), 0555), 0);
    {
        const WithoutPrivileges user;
        EXPECT_FALSE(deleteFolder(m_folder / "a", true));
        // True, because the folder was not empty, even though its content is still there.
        EXPECT_TRUE(deleteFolder(m_folder / "a", false));
    }
    ASSERT_EQ(chmod((m_folder / "a/closed").c_str(), 0777), 0);
    EXPECT_TRUE(exists("a/closed/kept"));
    EXPECT_FALSE(exists("a/z"));
}

TEST_F(FileSystemManagementTest, DeleteFolderRemovesAnUnreadableFolderOnlyIfItIsEmpty) {
    makeFolder("closed");
    ASSERT_EQ(chmod((m_folder / "closed").c_str(), 0), 0);
    const WithoutPrivileges user;
    EXPECT_FALSE(deleteFolder(m_folder / "closed", false));
    EXPECT_TRUE(deleteFolder(m_folder / "closed", true));
}

TEST_F(FileSystemManagementTest, DeleteFolderRemovesADeepTree) {
    makeFolder("top");
    makeDeepTree(m_folder / "top", "d", 1500);
    EXPECT_TRUE(deleteFolder(m_folder / "top", true));
    EXPECT_FALSE(exists("top"));
}

TEST_F(FileSystemManagementTest, DeleteFolderGivesUpOnATreeThatNoPathReaches) {
    makeFolder("top");
    makeDeepTree(m_folder / "top", "level", 2000);
    EXPECT_FALSE(deleteFolder(m_folder / "top", true));
    removeDeepTree(m_folder / "top");
}

TEST_F(FileSystemManagementTest, DeleteFolderRemovesALargeFolder) {
    makeFolder("large");
    for (int i = 0; i < 3000; ++i)
        writeFile(m_folder / "large/" + std::to_string(i), "");
    EXPECT_TRUE(deleteFolder(m_folder / "large", true));
    EXPECT_FALSE(exists("large"));
}

TEST_F(FileSystemManagementTest, DeleteEmptyFolderRemovesEmptyFoldersOnly) {
    ASSERT_TRUE(createFolder(m_folder / "a/b"));
    writeFile(m_folder / "file", "");
    EXPECT_FALSE(DeleteEmptyFolder(m_folder / "a"));
    EXPECT_TRUE(DeleteEmptyFolder(m_folder / "a/b"));
    EXPECT_TRUE(DeleteEmptyFolder(m_folder / "a/"));
    EXPECT_FALSE(DeleteEmptyFolder(m_folder / "a"));
    EXPECT_FALSE(DeleteEmptyFolder(m_folder / "file"));
    EXPECT_FALSE(DeleteEmptyFolder(""));
}

TEST_F(FileSystemManagementTest, CopyCopiesAFileByteForByte) {
    std::string content;
    for (int i = 0; i < 3000000; ++i)
        content += static_cast<char>(i * 7);
    writeFile(m_folder / "from", content);
    EXPECT_TRUE(Copy(m_folder / "from", m_folder / "to"));
    EXPECT_EQ(readFile(m_folder / "to"), content);
}

TEST_F(FileSystemManagementTest, CopyReplacesTheContentOfTheDestination) {
    writeFile(m_folder / "from", "new");
    writeFile(m_folder / "to", "much longer than new");
    EXPECT_TRUE(Copy(m_folder / "from", m_folder / "to"));
    EXPECT_EQ(readFile(m_folder / "to"), "new");
}

TEST_F(FileSystemManagementTest, CopyCopiesAnEmptyFile) {
    writeFile(m_folder / "from", "");
    EXPECT_TRUE(Copy(m_folder / "from", m_folder / "to"));
    EXPECT_EQ(readFile(m_folder / "to"), "");
}

TEST_F(FileSystemManagementTest, CopyOfAnEmptySourceNameTouchesNothing) {
    writeFile(m_folder / "to", "kept");
    EXPECT_FALSE(Copy("", m_folder / "to"));
    EXPECT_EQ(readFile(m_folder / "to"), "kept");
}

// DELIBERATE: the destination is opened first.
TEST_F(FileSystemManagementTest, CopyOfAMissingSourceLeavesAnEmptyDestination) {
    writeFile(m_folder / "to", "lost");
    EXPECT_FALSE(Copy(m_folder / "missing", m_folder / "to"));
    EXPECT_EQ(readFile(m_folder / "to"), "");
}

// DELIBERATE: the destination is opened, and so emptied, before the source is read.
TEST_F(FileSystemManagementTest, CopyOfAFileOntoItselfEmptiesIt) {
    writeFile(m_folder / "file", "content");
    EXPECT_TRUE(Copy(m_folder / "file", m_folder / "file"));
    EXPECT_EQ(readFile(m_folder / "file"), "");
}

TEST_F(FileSystemManagementTest, CopyFailsWhenTheDestinationCannotBeOpened) {
    writeFile(m_folder / "from", "content");
    makeFolder("folder");
    EXPECT_FALSE(Copy(m_folder / "from", m_folder / "folder"));
    EXPECT_FALSE(Copy(m_folder / "from", m_folder / "missing/to"));
    EXPECT_FALSE(Copy(m_folder / "from", ""));
}

TEST_F(FileSystemManagementTest, CopyOfAFolderFails) {
    makeFolder("folder");
    EXPECT_FALSE(Copy(m_folder / "folder", m_folder / "to"));
}

TEST_F(FileSystemManagementTest, CopyCopiesFilesBeyondTwoGigabytes) {
    makeSparseFile(m_folder / "huge", 2147483648 + 5);
    EXPECT_TRUE(Copy(m_folder / "huge", "/dev/null"));
}

TEST_F(CopyFolderTest, CopiesEverythingWithAnEmptyPattern) {
    for (const char* pattern : {"", "*", "*.*"}) {
        const TemporaryFolder target;
        if (!exists("source"))
            makeSource({"a.txt", "noextension", ".hidden"});
        EXPECT_TRUE(copyFolder(m_folder / "source", target / "copy", pattern));
        for (const char* name : {"a.txt", "noextension", ".hidden"}) {
            EXPECT_EQ(readFile(target / "copy" + "/" + name), name);
            EXPECT_EQ(readFile(target / "copy/sub" + "/" + name), name);
        }
    }
}

// DELIBERATE: the pattern without its wildcard matches anywhere in the name.
TEST_F(CopyFolderTest, ThePatternStarDotLogCopiesEveryFileWhoseNameContainsLog) {
    makeSource({"a.log", "alarm.logic", "catalog", "a.txt", "LOG"});
    EXPECT_TRUE(copy("*.log"));
    for (const std::string folder : {"", "sub/"}) {
        EXPECT_TRUE(copied(folder + "a.log"));
        EXPECT_TRUE(copied(folder + "alarm.logic"));
        EXPECT_TRUE(copied(folder + "catalog"));
        EXPECT_FALSE(copied(folder + "a.txt"));
        EXPECT_FALSE(copied(folder + "LOG"));
    }
}

TEST_F(CopyFolderTest, OnlyTheFirstWildcardOfThePatternIsRemoved) {
    makeSource({"a.txt", "b*.txt", "txt"});
    EXPECT_TRUE(copy("**.txt")); // leaves *txt
    EXPECT_FALSE(copied("a.txt"));
    EXPECT_FALSE(copied("txt"));
    EXPECT_FALSE(copied("b*.txt"));
    // The subfolder is copied with the reduced pattern, which is then reduced once more.
    EXPECT_TRUE(copied("sub/a.txt"));
    EXPECT_TRUE(copied("sub/txt"));
}

TEST_F(CopyFolderTest, StarDotStarIsRemovedBeforeShorterWildcards) {
    makeSource({"a.b", "x*.b"});
    EXPECT_TRUE(copy("*.b*.*")); // leaves *.b
    EXPECT_FALSE(copied("a.b"));
    EXPECT_TRUE(copied("x*.b"));
    EXPECT_TRUE(copied("sub/a.b"));
}

TEST_F(CopyFolderTest, APatternWithoutWildcardsIsAPartOfTheName) {
    makeSource({"trace_1.txt", "log.txt", "a.txt?"});
    EXPECT_TRUE(copy("trace"));
    EXPECT_TRUE(copied("trace_1.txt"));
    EXPECT_FALSE(copied("log.txt"));
}

TEST_F(CopyFolderTest, FoldersAreCopiedWhateverThePattern) {
    makeSource({"a.txt"});
    EXPECT_TRUE(copy("nothing"));
    EXPECT_TRUE(isFolder(m_folder / "copy/sub"));
    EXPECT_FALSE(copied("a.txt"));
}

TEST_F(CopyFolderTest, MakesItsFoldersWithMode0777AndLeavesTheMaskAtZero) {
    makeSource({"a"});
    const KeepMask mask(077);
    EXPECT_TRUE(copy(""));
    EXPECT_EQ(modeOf(m_folder / "copy"), 0777u);
    EXPECT_EQ(modeOf(m_folder / "copy/sub"), 0777u);
    EXPECT_EQ(KeepMask::current(), 0u);
}

TEST_F(CopyFolderTest, SetsTheMaskBeforeAnythingElse) {
    EXPECT_FALSE(copy(""));
    EXPECT_EQ(KeepMask::current(), 0u);
}

TEST_F(CopyFolderTest, ToleratesTrailingSeparatorsAndAnExistingDestination) {
    makeSource({"a"});
    ASSERT_TRUE(createFolder(m_folder / "copy/sub"));
    writeFile(m_folder / "copy/a", "replaced");
    writeFile(m_folder / "copy/other", "kept");
    EXPECT_TRUE(copyFolder(m_folder / "source/", m_folder / "copy/", ""));
    EXPECT_EQ(readFile(m_folder / "copy/a"), "a");
    EXPECT_EQ(readFile(m_folder / "copy/sub/a"), "a");
    EXPECT_EQ(readFile(m_folder / "copy/other"), "kept");
}

TEST_F(CopyFolderTest, CopiesAnEmptyFolder) {
    makeFolder("source");
    EXPECT_TRUE(copy(""));
    EXPECT_TRUE(isFolder(m_folder / "copy"));
}

TEST_F(CopyFolderTest, FailsWithoutASourceFolder) {
    EXPECT_FALSE(copy(""));
    EXPECT_FALSE(exists("copy"));
    writeFile(m_folder / "source", "");
    EXPECT_FALSE(copy(""));
    EXPECT_FALSE(copyFolder("", m_folder / "copy", ""));
}

TEST_F(CopyFolderTest, FailsWhenTheDestinationCannotBeCreated) {
    makeSource({"a"});
    writeFile(m_folder / "copy", "in the way");
    EXPECT_FALSE(copy(""));
    EXPECT_FALSE(copyFolder(m_folder / "source", "", ""));
    EXPECT_EQ(readFile(m_folder / "copy"), "in the way");
}

TEST_F(CopyFolderTest, AnUnreadableSourceIsCopiedAsAnEmptyFolder) {
    makeFolder("source");
    writeFile(m_folder / "source/a", "");
    ASSERT_EQ(chmod((m_folder / "source").c_str(), 0), 0);
    {
        const WithoutPrivileges user;
        EXPECT_TRUE(copy(""));
    }
    ASSERT_EQ(chmod((m_folder / "source").c_str(), 0700), 0);
    EXPECT_TRUE(isFolder(m_folder / "copy"));
    EXPECT_FALSE(copied("a"));
}

TEST_F(CopyFolderTest, StopsAtAnEntryThatLeadsNowhereAndKeepsWhatItCopied) {
    makeSource({"a", "z"});
    makeLink("source/m", "missing");
    EXPECT_FALSE(copy(""));
    EXPECT_TRUE(copied("a"));
    EXPECT_FALSE(copied("z"));
}

TEST_F(CopyFolderTest, IgnoresWhatGoesWrongInASubfolder) {
    makeSource({"a", "z"});
    makeLink("source/sub/m", "missing");
    EXPECT_TRUE(copy(""));
    EXPECT_TRUE(copied("sub/a"));
    EXPECT_FALSE(copied("sub/z"));
    EXPECT_TRUE(copied("z"));
}

TEST_F(CopyFolderTest, IgnoresAFileThatCannotBeCopied) {
    makeSource({"a", "z"});
    ASSERT_TRUE(createFolder(m_folder / "copy/a")); // a folder where the file should go
    EXPECT_TRUE(copy(""));
    EXPECT_TRUE(isFolder(m_folder / "copy/a"));
    EXPECT_TRUE(copied("z"));
}

TEST_F(CopyFolderTest, IgnoresAFileInTheWayOfASubfolder) {
    makeSource({"a", "z"});
    makeFolder("copy");
    writeFile(m_folder / "copy/sub", "in the way");
    EXPECT_TRUE(copy(""));
    EXPECT_EQ(readFile(m_folder / "copy/sub"), "in the way");
    EXPECT_TRUE(copied("z"));
}

TEST_F(CopyFolderTest, FailsWhenASubfolderCannotBeMade) {
    makeSource({"a"});
    makeFolder("copy");
    ASSERT_EQ(chmod((m_folder / "copy").c_str(), 0555), 0);
    const WithoutPrivileges user;
    EXPECT_FALSE(copy(""));
}

TEST_F(CopyFolderTest, SkipsWhatIsNeitherFolderNorFile) {
    makeSource({"a"});
    ASSERT_EQ(mkfifo((m_folder / "source/pipe").c_str(), 0666), 0);
    EXPECT_TRUE(copy(""));
    EXPECT_TRUE(copied("a"));
    EXPECT_FALSE(copied("pipe"));
}

TEST_F(CopyFolderTest, FollowsLinks) {
    makeSource({"a"});
    makeFolder("outside");
    writeFile(m_folder / "outside/b", "b");
    makeLink("source/folder", "../outside");
    makeLink("source/file", "../outside/b");
    EXPECT_TRUE(copy(""));
    EXPECT_TRUE(isFolder(m_folder / "copy/folder"));
    EXPECT_EQ(readFile(m_folder / "copy/folder/b"), "b");
    EXPECT_EQ(readFile(m_folder / "copy/file"), "b");
    EXPECT_FALSE(isLink(m_folder / "copy/file"));
    EXPECT_FALSE(isLink(m_folder / "copy/folder"));
}

TEST_F(CopyFolderTest, ALinkBackUpTheTreeIsCopiedAsAnEmptyFolder) {
    makeSource({"a"});
    makeLink("source/sub/up1", "..");
    makeLink("source/sub/up2", m_folder / "source");
    makeLink("source/self", ".");
    EXPECT_TRUE(copy(""));
    for (const char* name : {"copy/sub/up1", "copy/sub/up2", "copy/self"}) {
        EXPECT_TRUE(isFolder(m_folder / name)) << name;
        EXPECT_TRUE(DeleteEmptyFolder(m_folder / name)) << name;
    }
    EXPECT_TRUE(copied("sub/a"));
}

TEST_F(CopyFolderTest, AFolderCanBeCopiedIntoItself) {
    makeSource({"a"});
    EXPECT_TRUE(copyFolder(m_folder / "source", m_folder / "source/copy", ""));
    EXPECT_EQ(readFile(m_folder / "source/copy/sub/a"), "a");
    EXPECT_TRUE(isFolder(m_folder / "source/copy/copy"));
    EXPECT_TRUE(DeleteEmptyFolder(m_folder / "source/copy/copy"));
}

TEST_F(CopyFolderTest, CopiesADeepTree) {
    makeFolder("source");
    const std::string last = makeDeepTree(m_folder / "source", "d", 500);
    writeFile(last + "/file", "deep");
    EXPECT_TRUE(copy(""));
    EXPECT_EQ(readFile(m_folder / "copy" + last.substr((m_folder / "source").size()) + "/file"), "deep");
}

TEST_F(CopyFolderTest, EndsAtATreeThatNoPathReaches) {
    makeFolder("source");
    makeDeepTree(m_folder / "source", std::string(200, 'd'), 40);
    EXPECT_TRUE(copy(""));
    removeDeepTree(m_folder / "source");
    removeDeepTree(m_folder / "copy");
}

// DELIBERATE: inert on this platform.
TEST_F(FileSystemManagementTest, MoveDoesNothingAndReturnsTrue) {
    writeFile(m_folder / "from", "content");
    EXPECT_TRUE(Move(m_folder / "from", m_folder / "to"));
    EXPECT_TRUE(exists("from"));
    EXPECT_FALSE(exists("to"));
    EXPECT_TRUE(Move("", ""));
}

// DELIBERATE: inert on this platform.
TEST_F(FileSystemManagementTest, RemoveReadOnlyDoesNothingAndReturnsFalse) {
    writeFile(m_folder / "file", "");
    ASSERT_EQ(chmod((m_folder / "file").c_str(), 0444), 0);
    EXPECT_FALSE(RemoveReadOnly(m_folder / "file"));
    EXPECT_EQ(modeOf(m_folder / "file"), 0444u);
}

// DELIBERATE: not even the default value is returned.
TEST_F(FileSystemManagementTest, ReadParamFromIniFileReturnsAnEmptyText) {
    writeFile(m_folder / "settings.ini", "[section]\nkey=value\n");
    EXPECT_EQ(ReadParamFromIniFile(m_folder / "settings.ini", "section", "key", "default"), "");
}

TEST_F(FileSystemManagementTest, TheApplicationDataFoldersAreAskedFromTheSystemAndNotCreated) {
    WrappedCalls::get().folderPath = "/Library/Application Support";
    EXPECT_EQ(getCommonAppDataDirectory(), "/Library/Application Support");
    EXPECT_EQ(getUserAppDataDirectory(), "/Library/Application Support");
    EXPECT_THAT(WrappedCalls::foldersAskedFor(),
                ElementsAre(kLocalDomain, static_cast<int>(kApplicationSupportFolderType), kDontCreateFolder,
                            kUserDomain, static_cast<int>(kApplicationSupportFolderType), kDontCreateFolder));
    EXPECT_EQ(WrappedCalls::folderPathSize(), 2048u);
}

TEST_F(FileSystemManagementTest, AnApplicationDataFolderMayHaveALongPath) {
    WrappedCalls::get().folderPath = "/" + std::string(2046, 'l');
    EXPECT_EQ(getUserAppDataDirectory(), WrappedCalls::get().folderPath);
}

TEST_F(FileSystemManagementTest, AnApplicationDataFolderThatTheSystemDoesNotFindIsEmpty) {
    WrappedCalls::get().findFolderError = -43;
    EXPECT_EQ(getCommonAppDataDirectory(), "");
    EXPECT_EQ(getUserAppDataDirectory(), "");
}

TEST_F(FileSystemManagementTest, AnApplicationDataFolderWithoutAPathIsEmpty) {
    WrappedCalls::get().makePathError = -43;
    EXPECT_EQ(getCommonAppDataDirectory(), "");
    EXPECT_EQ(getUserAppDataDirectory(), "");
}

TEST_F(FileSystemManagementTest, TheExecutablesDirectoryEndsInASeparatorAndItsNameHasNone) {
    char path[PATH_MAX];
    ASSERT_NE(nullptr, realpath(testing::internal::GetArgvs().front().c_str(), path));
    EXPECT_EQ(getCurrentExecutableFullPath(), path);
    EXPECT_THAT(getCurrentExecutableDirectory(), EndsWith("/"));
    EXPECT_THAT(getCurrentExecutableName(), Not(testing::HasSubstr("/")));
    EXPECT_THAT(getCurrentExecutableName(), Not(IsEmpty()));
    EXPECT_EQ(getCurrentExecutableDirectory() + getCurrentExecutableName(), getCurrentExecutableFullPath());
    EXPECT_EQ(getCurrentOutputDirectory(), getCurrentExecutableDirectory());
}

TEST_F(FileSystemManagementTest, TheExecutablesPathIsFreeOfLinks) {
    makeFolder("real");
    writeFile(m_folder / "real/program", "");
    makeLink("link", "real");
    WrappedCalls::get().executablePath = m_folder / "link/../link/./program";
    EXPECT_EQ(getCurrentExecutableFullPath(), m_folder / "real/program");
    EXPECT_EQ(getCurrentExecutableDirectory(), m_folder / "real/");
    EXPECT_EQ(getCurrentExecutableName(), "program");
    EXPECT_THAT(WrappedCalls::executablePathSizes(), testing::Each(1024u));
}

TEST_F(FileSystemManagementTest, ALongExecutablePathIsAskedForOnceMoreWithTheSizeItNeeds) {
    std::string folder = m_folder / std::string(250, 'f');
    for (int i = 0; i < 5; ++i)
        folder += "/" + std::string(250, 'f');
    ASSERT_TRUE(createFolder(folder));
    writeFile(folder + "/program", "");
    WrappedCalls::get().executablePath = folder + "/program";
    EXPECT_EQ(getCurrentExecutableFullPath(), folder + "/program");
    EXPECT_THAT(WrappedCalls::executablePathSizes(),
                ElementsAre(1024u, static_cast<unsigned>(folder.size()) + sizeof "/program"));
}

TEST_F(FileSystemManagementTest, AnExecutablePathThatTheSystemDoesNotTellIsEmpty) {
    WrappedCalls::get().executablePathFails = true;
    EXPECT_EQ(getCurrentExecutableFullPath(), "");
    EXPECT_EQ(getCurrentExecutableDirectory(), "");
    EXPECT_EQ(getCurrentExecutableName(), "");
    EXPECT_EQ(getCurrentOutputDirectory(), "");
}

TEST_F(FileSystemManagementTest, AnExecutableThatIsGoneHasNoPath) {
    WrappedCalls::get().executablePath = m_folder / "removed";
    EXPECT_EQ(getCurrentExecutableFullPath(), "");
}
