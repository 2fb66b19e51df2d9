#include "FileReplacement.h"

#include "OtherProcess.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "WrappedCalls.h"

#include <atomic>
#include <csignal>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

namespace {

class FileReplacementTest : public testing::Test {
protected:
    FileReplacementTest() { WrappedCalls::reset(); }
    ~FileReplacementTest() override { WrappedCalls::reset(); }

    mode_t modeOf(const std::string& path) {
        struct stat status;
        return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }
    bool exists(const std::string& path) {
        struct stat status;
        return lstat(path.c_str(), &status) == 0;
    }
    /// No file of this process may grow beyond so many bytes: the nearest thing to a full disk.
    static void limitFileSize(rlim_t bytes) {
        signal(SIGXFSZ, SIG_IGN);
        const struct rlimit limit = {bytes, bytes};
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    TemporaryFolder m_folder;
    std::string m_file = m_folder / "parameters.dat";
};

TEST_F(FileReplacementTest, MakesAFileThatWasNotThere) {
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ("new", readFile(m_file));
}

TEST_F(FileReplacementTest, ReplacesALongerContentWhole) {
    writeFile(m_file, std::string(100000, 'o'));
    EXPECT_TRUE(FileReplacement::replace(m_file, std::string("n\0n", 3)));
    EXPECT_EQ(std::string("n\0n", 3), readFile(m_file));
}

TEST_F(FileReplacementTest, StoresAnEmptyContent) {
    writeFile(m_file, "old");
    EXPECT_TRUE(FileReplacement::replace(m_file, ""));
    EXPECT_EQ("", readFile(m_file));
}

TEST_F(FileReplacementTest, IsFlushedBeforeItIsRenamedAndThenTheFolderIs) {
    writeFile(m_file, "old");
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    const std::vector<std::string> expected = {
        "flush " + m_file + ".new", "rename " + m_file + ".new " + m_file, "flush " + m_folder.path()};
    EXPECT_EQ(expected, WrappedCalls::flushesAndRenames());
}

TEST_F(FileReplacementTest, WhatCannotBeFlushedDoesNotReplaceTheFile) {
    writeFile(m_file, "old");
    WrappedCalls::get().unflushable = m_file + ".new";
    EXPECT_FALSE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ(EIO, errno);
    EXPECT_EQ("old", readFile(m_file));
    EXPECT_FALSE(exists(m_file + ".new"));
}

TEST_F(FileReplacementTest, AFolderThatCannotBeFlushedTakesNothingBack) {
    WrappedCalls::get().unflushable = m_folder.path();
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ("new", readFile(m_file));
}

TEST_F(FileReplacementTest, KeepsTheFilesMode) {
    writeFile(m_file, "old");
    chmod(m_file.c_str(), 0640);
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ(0640u, modeOf(m_file));
}

TEST_F(FileReplacementTest, KeepsTheGroupWhereTheOwnerCannotBeKept) {
    writeFile(m_file, "old");
    chmod(m_file.c_str(), 0666);
    chmod(m_folder.path().c_str(), 0777);
    struct stat before, after;
    ASSERT_EQ(0, stat(m_file.c_str(), &before));
    EXPECT_TRUE(inAnotherProcess([&] { // the superuser's child becomes a member of the file's group
        const bool member = geteuid() != 0 || setgroups(1, &before.st_gid) == 0;
        return member && asOrdinaryUser(m_folder.path(),
                                        [] { return FileReplacement::replace("parameters.dat", "new"); });
    }));
    ASSERT_EQ(0, stat(m_file.c_str(), &after));
    EXPECT_EQ(before.st_gid, after.st_gid);
}

TEST_F(FileReplacementTest, GivesANewFileTheModeThatTheMaskLeaves) {
    const mode_t mask = umask(027);
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    umask(mask);
    EXPECT_EQ(0640u, modeOf(m_file));
}

TEST_F(FileReplacementTest, FollowsALinkAndKeepsIt) {
    mkdir((m_folder / "elsewhere").c_str(), 0777);
    writeFile(m_folder / "elsewhere/real", "old");
    symlink("elsewhere/real", m_file.c_str());
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ("new", readFile(m_folder / "elsewhere/real"));
    struct stat status;
    ASSERT_EQ(0, lstat(m_file.c_str(), &status));
    EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST_F(FileReplacementTest, MakesWhatADanglingLinkPointsTo) {
    symlink((m_folder / "real").c_str(), m_file.c_str());
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ("new", readFile(m_folder / "real"));
}

TEST_F(FileReplacementTest, RefusesALoopOfLinks) {
    symlink("b", (m_folder / "a").c_str());
    symlink("a", (m_folder / "b").c_str());
    EXPECT_FALSE(FileReplacement::replace(m_folder / "a", "new"));
    EXPECT_EQ(ELOOP, errno);
}

TEST_F(FileReplacementTest, LeavesNothingBesideTheFile) {
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_FALSE(exists(m_file + ".new"));
}

TEST_F(FileReplacementTest, UsesUpWhatAKilledWriterLeft) {
    writeFile(m_file + ".new", "half of someth");
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ("new", readFile(m_file));
    EXPECT_FALSE(exists(m_file + ".new"));
}

TEST_F(FileReplacementTest, DoesNotWriteThroughALinkInTheNewFilesPlace) {
    writeFile(m_folder / "victim", "untouched");
    symlink("victim", (m_file + ".new").c_str());
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ("new", readFile(m_file));
    EXPECT_EQ("untouched", readFile(m_folder / "victim"));
}

TEST_F(FileReplacementTest, FailsForAFolderAndForAMissingFolder) {
    EXPECT_FALSE(FileReplacement::replace(m_folder.path(), "new"));
    EXPECT_FALSE(FileReplacement::replace(m_folder / "missing/file", "new"));
    EXPECT_EQ(ENOENT, errno);
}

TEST_F(FileReplacementTest, WritesToADevice) {
    EXPECT_TRUE(FileReplacement::replace("/dev/null", "new"));
    EXPECT_TRUE(exists("/dev/null"));
}

TEST_F(FileReplacementTest, AFullDiskLeavesTheOldContentWhole) {
    writeFile(m_file, "old");
    EXPECT_TRUE(inAnotherProcess([&] {
        limitFileSize(4096);
        return !FileReplacement::replace(m_file, std::string(100000, 'n')) && errno == EFBIG;
    }));
    EXPECT_EQ("old", readFile(m_file));
    EXPECT_FALSE(exists(m_file + ".new"));
}

TEST_F(FileReplacementTest, WritesInPlaceWhereTheFolderAllowsNoNewFile) {
    writeFile(m_file, "old and longer");
    chmod(m_file.c_str(), 0666);
    chmod(m_folder.path().c_str(), 0555);
    EXPECT_TRUE(asOrdinaryUser(m_folder.path(), [this] {
        return FileReplacement::replace("parameters.dat", "new") &&
               WrappedCalls::flushesAndRenames() == std::vector<std::string>{"flush " + m_file};
    }));
    EXPECT_EQ("new", readFile(m_file));
    chmod(m_folder.path().c_str(), 0755);
}

TEST_F(FileReplacementTest, InPlaceAFullDiskLeavesTheOldContentWhole) {
    writeFile(m_file, "old");
    chmod(m_file.c_str(), 0666);
    chmod(m_folder.path().c_str(), 0555);
    EXPECT_TRUE(asOrdinaryUser(m_folder.path(), [] {
        limitFileSize(4096);
        return !FileReplacement::replace("parameters.dat", std::string(100000, 'n'));
    }));
    EXPECT_EQ("old", readFile(m_file));
    chmod(m_folder.path().c_str(), 0755);
}

TEST_F(FileReplacementTest, AnUnwritableFolderGetsNoNewFile) {
    chmod(m_folder.path().c_str(), 0555);
    EXPECT_TRUE(
        asOrdinaryUser(m_folder.path(), [] { return !FileReplacement::replace("parameters.dat", "new"); }));
    EXPECT_FALSE(exists(m_file));
    chmod(m_folder.path().c_str(), 0755);
}

TEST_F(FileReplacementTest, AFileThatMayNotBeWrittenStaysInAWritableFolder) {
    writeFile(m_file, "old");
    chmod(m_file.c_str(), 0444);
    chmod(m_folder.path().c_str(), 0777);
    EXPECT_TRUE(
        asOrdinaryUser(m_folder.path(), [] { return !FileReplacement::replace("parameters.dat", "new"); }));
    EXPECT_EQ("old", readFile(m_file));
}

TEST_F(FileReplacementTest, AReaderMeetsTheOldOrTheNewContentWhole) {
    const std::string contents[] = {std::string(50000, 'a'), std::string(70000, 'b')};
    FileReplacement::replace(m_file, contents[0]);
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 1; i <= 200; ++i) {
            FileReplacement::replace(m_file, contents[i % 2]);
        }
        done = true;
    });
    while (!done) {
        const std::string read = readFile(m_file);
        EXPECT_TRUE(read == contents[0] || read == contents[1]) << read.size() << " bytes";
    }
    writer.join();
}

TEST_F(FileReplacementTest, WritersOfOneFileTakeTurns) {
    std::atomic<int> failures{0};
    std::thread writers[4];
    for (int i = 0; i < 4; ++i) {
        writers[i] = std::thread([&, i] {
            for (int n = 0; n < 50; ++n) {
                failures += !FileReplacement::replace(m_file, std::string(10000, static_cast<char>('a' + i)));
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    EXPECT_EQ(0, failures);
    const std::string read = readFile(m_file);
    EXPECT_EQ(std::string(10000, read[0]), read);
    EXPECT_FALSE(exists(m_file + ".new"));
}

} // namespace
