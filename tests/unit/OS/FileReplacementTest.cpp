#include "detail/FileReplacement.h"

#include "FilesBeside.h"
#include "OtherProcess.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "WrappedCalls.h"
#include "detail/FileDescriptor.h"
#include "detail/LockWait.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

using namespace kf::detail;

namespace {

class FileReplacementTest : public testing::Test {
protected:
    FileReplacementTest() { WrappedCalls::reset(); }
    ~FileReplacementTest() override {
        WrappedCalls::reset();
        LockWait::setLongest(std::chrono::seconds(5));
    }

    mode_t modeOf(const std::string& path) {
        struct stat status;
        return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }
    bool exists(const std::string& path) {
        struct stat status;
        return lstat(path.c_str(), &status) == 0;
    }
    /// Lets no file of this process grow beyond so many bytes, which is the closest to a full disk.
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
    EXPECT_EQ(readFile(m_file), "new");
}

TEST_F(FileReplacementTest, ReplacesALongerContentWhole) {
    writeFile(m_file, std::string(100000, 'o'));
    EXPECT_TRUE(FileReplacement::replace(m_file, std::string("n\0n", 3)));
    EXPECT_EQ(readFile(m_file), std::string("n\0n", 3));
}

TEST_F(FileReplacementTest, StoresAnEmptyContent) {
    writeFile(m_file, "old");
    EXPECT_TRUE(FileReplacement::replace(m_file, ""));
    EXPECT_EQ(readFile(m_file), "");
}

TEST_F(FileReplacementTest, IsFlushedBeforeItIsRenamedAndThenTheFolderIs) {
    writeFile(m_file, "old");
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    const std::vector<std::string> calls = WrappedCalls::flushesAndRenames();
    ASSERT_EQ(calls.size(), 3u);
    const std::string beside = calls[0].substr(strlen("flush "));
    EXPECT_EQ(calls[0], "flush " + beside);
    EXPECT_EQ(calls[1], "rename " + beside + " " + m_file);
    EXPECT_EQ(calls[2], "flush " + m_folder.path());
}

TEST_F(FileReplacementTest, WhatCannotBeFlushedDoesNotReplaceTheFile) {
    writeFile(m_file, "old");
    WrappedCalls::get().flushError = EIO;
    EXPECT_FALSE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(readFile(m_file), "old");
    EXPECT_EQ(filesBeside(m_file), std::vector<std::string>());
}

TEST_F(FileReplacementTest, AFolderThatCannotBeFlushedTakesNothingBack) {
    WrappedCalls::get().folderFlushError = EIO;
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ(readFile(m_file), "new");
}

TEST_F(FileReplacementTest, KeepsTheFilesMode) {
    writeFile(m_file, "old");
    chmod(m_file.c_str(), 0640);
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ(modeOf(m_file), 0640u);
}

TEST_F(FileReplacementTest, KeepsTheGroupWhereTheOwnerCannotBeKept) {
    writeFile(m_file, "old");
    chmod(m_file.c_str(), 0666);
    chmod(m_folder.path().c_str(), 0777);
    struct stat before, after;
    ASSERT_EQ(stat(m_file.c_str(), &before), 0);
    EXPECT_TRUE(inAnotherProcess([&] { // the superuser's child becomes a member of the file's group
        const bool member = geteuid() != 0 || setgroups(1, &before.st_gid) == 0;
        return member && asOrdinaryUser(m_folder.path(),
                                        [] { return FileReplacement::replace("parameters.dat", "new"); });
    }));
    ASSERT_EQ(stat(m_file.c_str(), &after), 0);
    EXPECT_EQ(after.st_gid, before.st_gid);
}

TEST_F(FileReplacementTest, GivesANewFileTheModeThatTheMaskLeaves) {
    const mode_t mask = umask(027);
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    umask(mask);
    EXPECT_EQ(modeOf(m_file), 0640u);
}

TEST_F(FileReplacementTest, FollowsALinkAndKeepsIt) {
    mkdir((m_folder / "elsewhere").c_str(), 0777);
    writeFile(m_folder / "elsewhere/real", "old");
    symlink("elsewhere/real", m_file.c_str());
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ(readFile(m_folder / "elsewhere/real"), "new");
    struct stat status;
    ASSERT_EQ(lstat(m_file.c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST_F(FileReplacementTest, MakesWhatADanglingLinkPointsTo) {
    symlink((m_folder / "real").c_str(), m_file.c_str());
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ(readFile(m_folder / "real"), "new");
}

TEST_F(FileReplacementTest, RefusesALoopOfLinks) {
    symlink("b", (m_folder / "a").c_str());
    symlink("a", (m_folder / "b").c_str());
    EXPECT_FALSE(FileReplacement::replace(m_folder / "a", "new"));
    EXPECT_EQ(errno, ELOOP);
}

TEST_F(FileReplacementTest, LeavesNothingBesideTheFile) {
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ(filesBeside(m_file), std::vector<std::string>());
}

TEST_F(FileReplacementTest, TheFileBesideHasAHiddenNameOfItsOwn) {
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_TRUE(FileReplacement::replace(m_file, "newer"));
    const std::vector<std::string> calls = WrappedCalls::flushesAndRenames();
    const std::string stem = "flush " + m_folder / ".parameters.dat.";
    for (const size_t i : {size_t{0}, size_t{3}}) {
        EXPECT_EQ(calls[i].substr(0, stem.size()), stem);
        EXPECT_EQ(calls[i].size(), stem.size() + 16);
        EXPECT_EQ(calls[i].find_first_not_of("0123456789abcdef", stem.size()), std::string::npos);
    }
    EXPECT_NE(calls[0], calls[3]);
}

TEST_F(FileReplacementTest, LeavesAUsersOwnFilesAlone) {
    for (const char* name : {"parameters.dat.new", "parameters.dat~", ".parameters.dat.swp"}) {
        writeFile(m_folder / name, "mine");
        EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
        EXPECT_EQ(readFile(m_folder / name), "mine");
    }
}

TEST_F(FileReplacementTest, RemovesWhatAKilledWriterLeft) {
    writeFile(m_folder / ".parameters.dat.0123456789abcdef", "half of someth");
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ(readFile(m_file), "new");
    EXPECT_EQ(filesBeside(m_file), std::vector<std::string>());
}

TEST_F(FileReplacementTest, RemovesNothingThatIsNotCertainlyAKilledWritersFile) {
    const std::string stem = m_folder / ".parameters.dat.";
    const std::string names[] = {stem + "0123456789abcde",
                                 stem + "0123456789abcdef0",
                                 stem + "0123456789abcdeF",
                                 stem + "0123456789abcdeg",
                                 stem + "0123456789abcde1",
                                 stem + "0123456789abcde2",
                                 stem + "0123456789abcde3",
                                 stem + "0123456789abcde4",
                                 m_folder / ".parameters.da.0123456789abcdef",
                                 m_folder / "0123456789abcdef"};
    for (const std::string& name : names)
        writeFile(name, "mine");
    writeFile(m_folder / "target", "mine");
    const FileDescriptor locked(open(names[4].c_str(), O_RDONLY | O_CLOEXEC)); // of a writer that still runs
    ASSERT_EQ(flock(locked.get(), LOCK_EX), 0);
    ASSERT_EQ(link(names[5].c_str(), (m_folder / "second name").c_str()), 0);
    unlink(names[6].c_str());
    ASSERT_EQ(symlink("target", names[6].c_str()), 0);
    unlink(names[7].c_str());
    ASSERT_EQ(mkdir(names[7].c_str(), 0777), 0);
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    for (const std::string& name : names)
        EXPECT_TRUE(exists(name)) << name;
    EXPECT_EQ(readFile(m_folder / "target"), "mine");
}

TEST_F(FileReplacementTest, AnotherUsersLeftoverStays) {
    const std::string name = m_folder / ".parameters.dat.0123456789abcdef";
    writeFile(name, "another's");
    chmod(name.c_str(), 0666);
    chmod(m_folder.path().c_str(), 0777);
    const bool isOwn = geteuid() != 0; // only the superuser can become another user
    EXPECT_TRUE(
        asOrdinaryUser(m_folder.path(), [] { return FileReplacement::replace("parameters.dat", "new"); }));
    EXPECT_EQ(exists(name), !isOwn);
}

TEST_F(FileReplacementTest, ALeftoverStaysWhereTheFileSystemCannotTellWhetherItsWriterLives) {
    const std::string name = m_folder / ".parameters.dat.0123456789abcdef";
    writeFile(name, "somebody's");
    WrappedCalls::get().lockError = ENOLCK;
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_TRUE(exists(name));
}

TEST_F(FileReplacementTest, FailsForAFolderAndForAMissingFolder) {
    EXPECT_FALSE(FileReplacement::replace(m_folder.path(), "new"));
    EXPECT_FALSE(FileReplacement::replace(m_folder / "missing/file", "new"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FileReplacementTest, WritesToADevice) {
    EXPECT_TRUE(FileReplacement::replace("/dev/null", "new"));
    EXPECT_TRUE(exists("/dev/null"));
}

// ---- Open descriptors, pipes and terminals

TEST_F(FileReplacementTest, WritesToAPipeThroughADescriptor) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    EXPECT_TRUE(FileReplacement::replace("/dev/fd/" + std::to_string(ends[1]), "new"));
    char text[8] = {};
    EXPECT_EQ(read(ends[0], text, sizeof text), 3);
    EXPECT_STREQ("new", text);
    close(ends[0]);
    close(ends[1]);
}

TEST_F(FileReplacementTest, WritesToANamedPipe) {
    ASSERT_EQ(mkfifo(m_file.c_str(), 0666), 0);
    const FileDescriptor reader(open(m_file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    char text[8] = {};
    EXPECT_EQ(read(reader.get(), text, sizeof text), 3);
    EXPECT_STREQ("new", text);
    EXPECT_EQ(read(reader.get(), text, sizeof text), 0) << "the writer is gone";
}

TEST_F(FileReplacementTest, NoticesThatAPipesReaderIsGone) {
    ASSERT_EQ(mkfifo(m_file.c_str(), 0666), 0);
    std::thread reader([this] {
        const FileDescriptor end(open(m_file.c_str(), O_RDONLY | O_CLOEXEC));
        char byte = 0;
        EXPECT_EQ(read(end.get(), &byte, 1), 1);
    });
    EXPECT_TRUE(inAnotherProcess([this] {
        signal(SIGPIPE, SIG_IGN);
        return !FileReplacement::replace(m_file, std::string(1000000, 'n')) && errno == EPIPE;
    }));
    reader.join();
}

TEST_F(FileReplacementTest, WritesToATerminalThroughADescriptor) {
    const FileDescriptor terminal(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_EQ(grantpt(terminal.get()), 0);
    ASSERT_EQ(unlockpt(terminal.get()), 0);
    const FileDescriptor side(open(ptsname(terminal.get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
    EXPECT_TRUE(FileReplacement::replace("/dev/fd/" + std::to_string(side.get()), "new"));
    char text[8] = {};
    EXPECT_EQ(read(terminal.get(), text, sizeof text), 3);
    EXPECT_STREQ("new", text);
}

TEST_F(FileReplacementTest, AFileBehindStandardOutputIsWrittenInPlace) {
    writeFile(m_file, "old and longer");
    const FileDescriptor file(open(m_file.c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_TRUE(inAnotherProcess(
        [&] { return dup2(file.get(), 1) == 1 && FileReplacement::replace("/dev/stdout", "new"); }));
    EXPECT_TRUE(isStillAt(m_file, file.get()));
    EXPECT_EQ(readFile(m_file), "new");
    EXPECT_TRUE(FileReplacement::replace("/dev/fd/" + std::to_string(file.get()), "newer"));
    EXPECT_TRUE(isStillAt(m_file, file.get()));
    EXPECT_EQ(readFile(m_file), "newer");
}

TEST_F(FileReplacementTest, FailsForADescriptorThatIsNotOpen) {
    EXPECT_FALSE(FileReplacement::replace("/dev/fd/987654", "new"));
}

// ---- Disks and folders that refuse

TEST_F(FileReplacementTest, ADiskThatFailsAtTheLastByteLeavesTheOldContentWhole) {
    writeFile(m_file, "old");
    WrappedCalls::get().mostBytes = 1;
    WrappedCalls::get().transfersBeforeError = 2;
    WrappedCalls::get().transferError = EIO;
    EXPECT_FALSE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ(errno, EIO);
    WrappedCalls::reset();
    EXPECT_EQ(readFile(m_file), "old");
    EXPECT_EQ(filesBeside(m_file), std::vector<std::string>());
}

TEST_F(FileReplacementTest, SignalsDoNotDisturbIt) {
    for (const std::string content : {"n", "new"}) {
        WrappedCalls::get().interruptions = 2;
        WrappedCalls::get().lockInterruptions = 2;
        EXPECT_TRUE(FileReplacement::replace(m_file, content));
        EXPECT_EQ(WrappedCalls::get().interruptions, 0);
        EXPECT_EQ(WrappedCalls::get().lockInterruptions, 0);
        EXPECT_EQ(readFile(m_file), content);
    }
}

TEST_F(FileReplacementTest, AFullDiskLeavesTheOldContentWhole) {
    writeFile(m_file, "old");
    EXPECT_TRUE(inAnotherProcess([&] {
        limitFileSize(4096);
        return !FileReplacement::replace(m_file, std::string(100000, 'n')) && errno == EFBIG;
    }));
    EXPECT_EQ(readFile(m_file), "old");
    EXPECT_EQ(filesBeside(m_file), std::vector<std::string>());
}

TEST_F(FileReplacementTest, WritesInPlaceWhereTheFolderAllowsNoNewFile) {
    writeFile(m_file, "old and longer");
    chmod(m_file.c_str(), 0666);
    chmod(m_folder.path().c_str(), 0555);
    EXPECT_TRUE(asOrdinaryUser(m_folder.path(), [this] {
        return FileReplacement::replace("parameters.dat", "new") &&
               WrappedCalls::flushesAndRenames() == std::vector<std::string>{"flush " + m_file};
    }));
    EXPECT_EQ(readFile(m_file), "new");
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
    EXPECT_EQ(readFile(m_file), "old");
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
    EXPECT_EQ(readFile(m_file), "old");
}

TEST_F(FileReplacementTest, AWriteInPlaceWaitsForItsReaders) {
    writeFile(m_file, "old");
    const FileDescriptor reader(open(m_file.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(FileReplacement::waitUntilWhole(reader.get()));
    LockWait::setLongest(std::chrono::seconds(0));
    const std::string path = "/dev/fd/" + std::to_string(reader.get());
    EXPECT_FALSE(FileReplacement::replace(path, "new"));
    EXPECT_EQ(errno, EWOULDBLOCK);
    EXPECT_EQ(readFile(m_file), "old");
    flock(reader.get(), LOCK_UN);
    EXPECT_TRUE(FileReplacement::replace(path, "new"));
}

TEST_F(FileReplacementTest, AReaderWaitsForAWriteInPlace) {
    writeFile(m_file, "old");
    const FileDescriptor writer(open(m_file.c_str(), O_RDWR | O_CLOEXEC));
    const FileDescriptor reader(open(m_file.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(flock(writer.get(), LOCK_EX), 0);
    LockWait::setLongest(std::chrono::seconds(0));
    EXPECT_FALSE(FileReplacement::waitUntilWhole(reader.get()));
    EXPECT_EQ(errno, EWOULDBLOCK);
    flock(writer.get(), LOCK_UN);
    EXPECT_TRUE(FileReplacement::waitUntilWhole(reader.get()));
}

TEST_F(FileReplacementTest, AReaderDoesNotWaitWhereTheFileSystemHasNoLocks) {
    WrappedCalls::get().lockError = ENOLCK;
    writeFile(m_file, "old");
    const FileDescriptor reader(open(m_file.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_TRUE(FileReplacement::waitUntilWhole(reader.get()));
}

TEST_F(FileReplacementTest, IsWrittenInPlaceWhereTheFileSystemCannotRenameOver) {
    writeFile(m_file, "old and longer");
    const FileDescriptor file(open(m_file.c_str(), O_RDONLY | O_CLOEXEC));
    for (const int error : {EINVAL, ENOTSUP, ENOSYS, EEXIST}) {
        WrappedCalls::get().renameError = error;
        unsigned lacks = 0;
        EXPECT_TRUE(FileReplacement::replace(m_file, "new" + std::to_string(error), &lacks)) << error;
        EXPECT_EQ(lacks, FileReplacement::NO_NEW_FILE);
        EXPECT_EQ(readFile(m_file), "new" + std::to_string(error));
        EXPECT_TRUE(isStillAt(m_file, file.get()));
        EXPECT_EQ(filesBeside(m_file), std::vector<std::string>());
    }
}

TEST_F(FileReplacementTest, IsReplacedWhereTheFileSystemCannotFlush) {
    for (const int error : {EINVAL, ENOTSUP, ENOSYS}) {
        WrappedCalls::get().flushError = error;
        unsigned lacks = 0;
        EXPECT_TRUE(FileReplacement::replace(m_file, "new" + std::to_string(error), &lacks)) << error;
        EXPECT_EQ(lacks, FileReplacement::NO_FLUSH);
        EXPECT_EQ(readFile(m_file), "new" + std::to_string(error));
    }
}

TEST_F(FileReplacementTest, IsWrittenInPlaceWithoutALockWhereTheFileSystemHasNone) {
    writeFile(m_file, "old");
    WrappedCalls::get().renameError = EINVAL;
    WrappedCalls::get().lockError = ENOLCK;
    unsigned lacks = 0;
    EXPECT_TRUE(FileReplacement::replace(m_file, "new", &lacks));
    EXPECT_EQ(lacks, FileReplacement::NO_NEW_FILE | FileReplacement::NO_LOCK);
    EXPECT_EQ(readFile(m_file), "new");
}

TEST_F(FileReplacementTest, WhatTheFileSystemLacksIsToldOnce) {
    EXPECT_TRUE(inAnotherProcess([] { // reported once per process
        const unsigned two = FileReplacement::NO_LOCK | FileReplacement::NO_FLUSH;
        return FileReplacement::takeUntold(0).empty() && FileReplacement::takeUntold(two).size() == 2 &&
               FileReplacement::takeUntold(two).empty() && FileReplacement::takeUntold(7).size() == 1;
    }));
}

// ---- At the same time

TEST_F(FileReplacementTest, AReaderMeetsTheOldOrTheNewContentWhole) {
    const std::string contents[] = {std::string(50000, 'a'), std::string(70000, 'b')};
    FileReplacement::replace(m_file, contents[0]);
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 1; i <= 200; ++i)
            FileReplacement::replace(m_file, contents[i % 2]);
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
            for (int n = 0; n < 50; ++n)
                failures += !FileReplacement::replace(m_file, std::string(10000, static_cast<char>('a' + i)));
        });
    }
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_EQ(failures, 0);
    const std::string read = readFile(m_file);
    EXPECT_EQ(read, std::string(10000, read[0]));
    EXPECT_EQ(filesBeside(m_file), std::vector<std::string>());
}

} // namespace
