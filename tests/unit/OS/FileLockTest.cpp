#include "detail/FileLock.h"

#include "OtherProcess.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Trees.h"
#include "WithoutPrivileges.h"
#include "WrappedCalls.h"
#include "detail/FileReplacement.h"

#include <csignal>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

using namespace kf::detail;

namespace {

bool isLocked(const std::string& path) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return flock(file.get(), LOCK_EX | LOCK_NB) != 0;
}

void waitForAWaiter() {
    while (WrappedCalls::microsecondsSlept().empty())
        std::this_thread::yield();
}

int countFiles(const std::string& path) {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path.c_str()), closedir);
    int count = 0;
    while (const dirent* const entry = readdir(folder.get()))
        count += entry->d_name[0] != '.' ? 1 : 0;
    return count;
}

class FileLockTest : public testing::Test {
protected:
    FileLockTest() { WrappedCalls::reset(); }
    ~FileLockTest() override {
        WrappedCalls::reset();
        LockWait::setLongest(std::chrono::seconds(5));
    }
    /// Locks the file as another process would.
    static FileDescriptor locked(const std::string& path) {
        FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
        EXPECT_EQ(flock(file.get(), LOCK_EX), 0);
        return file;
    }

    TemporaryFolder m_folder;
    std::string m_file = m_folder / "parameters.dat";
};

TEST_F(FileLockTest, IsHeldUntilTheObjectGoes) {
    {
        const FileLock lock(m_file);
        EXPECT_TRUE(lock.isHeld());
        EXPECT_TRUE(isLocked(m_file + ".lock"));
    }
    EXPECT_FALSE(isLocked(m_file + ".lock"));
}

TEST_F(FileLockTest, ThreadsTakeTurns) {
    int counter = 0; // not incremented atomically: without the lock, additions would be lost
    std::thread threads[4];
    for (std::thread& thread : threads) {
        thread = std::thread([&] {
            for (int i = 0; i < 200; ++i) {
                const FileLock lock(m_file);
                __atomic_store_n(&counter, __atomic_load_n(&counter, __ATOMIC_RELAXED) + 1, __ATOMIC_RELAXED);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(counter, 800);
}

TEST_F(FileLockTest, IsReleasedWhenItsProcessIsKilled) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        const FileLock lock(m_file);
        if (write(ready[1], "1", 1) == 1)
            pause();
        _exit(1);
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    EXPECT_TRUE(isLocked(m_file + ".lock"));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_FALSE(isLocked(m_file + ".lock"));
    close(ready[0]);
    close(ready[1]);
}

TEST_F(FileLockTest, IsNotInheritedByAProgramThatIsStarted) {
    auto lock = std::make_unique<FileLock>(m_file);
    EXPECT_TRUE(isLocked(m_file + ".lock"));
    FILE* const program = popen("cat", "w"); // runs until the end of its input
    ASSERT_NE(nullptr, program);
    lock.reset();
    EXPECT_FALSE(isLocked(m_file + ".lock"));
    EXPECT_EQ(pclose(program), 0);
}

TEST_F(FileLockTest, LocksTheFileItselfWhereTheFolderAllowsNoNewFile) {
    writeFile(m_file, "content");
    chmod(m_file.c_str(), 0444);
    chmod(m_folder.path().c_str(), 0555);
    EXPECT_TRUE(asOrdinaryUser(m_folder.path(), [] {
        const FileLock lock("parameters.dat");
        return lock.isHeld() && isLocked("parameters.dat");
    }));
    chmod(m_folder.path().c_str(), 0755);
}

TEST_F(FileLockTest, TheFileThatIsLockedItselfIsTheOneThatStandsThereAfterTheWait) {
    writeFile(m_file, "old");
    ASSERT_EQ(symlink("nowhere", (m_file + ".lock").c_str()), 0); // so that only the file can be locked
    const FileDescriptor old(open(m_file.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(flock(old.get(), LOCK_EX) == 0);
    std::promise<bool> newIsLocked;
    std::thread waiting([&] {
        const FileLock lock(m_file);
        newIsLocked.set_value(lock.isHeld() && isLocked(m_file));
    });
    waitForAWaiter();
    writeFile(m_folder / "next", "new");
    ASSERT_EQ(rename((m_folder / "next").c_str(), m_file.c_str()), 0);
    flock(old.get(), LOCK_UN);
    waiting.join();
    EXPECT_TRUE(newIsLocked.get_future().get());
}

// A process that can create the lock file would lock that one, and the two locks would not exclude each
// other.
TEST_F(FileLockTest, DoesNotFallBackToTheFileWhereTheLockFileFailsForAnotherReason) {
    writeFile(m_file, "content");
    mkdir((m_file + ".lock").c_str(), 0777);
    const FileLock lock(m_file);
    EXPECT_FALSE(lock.isHeld());
    EXPECT_EQ(errno, EISDIR);
}

TEST_F(FileLockTest, CannotBeHeldInAMissingFolder) {
    const FileLock lock(m_folder / "missing/parameters.dat");
    EXPECT_FALSE(lock.isHeld());
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FileLockTest, AnOrdinaryUserSharesALockThatTheSuperuserMade) {
    {
        const mode_t mask = umask(022);
        const FileLock lock(m_file);
        umask(mask);
    }
    chmod(m_folder.path().c_str(), 0777);
    EXPECT_TRUE(asOrdinaryUser(m_folder.path(), [] {
        const FileLock lock("parameters.dat");
        return isLocked("parameters.dat.lock");
    }));
}

TEST_F(FileLockTest, IsWaitedForFiveSeconds) {
    EXPECT_EQ(LockWait::getLongest(), std::chrono::seconds(5));
}

TEST_F(FileLockTest, CannotBeHeldWhileSomebodyElseHoldsItTooLong) {
    const FileDescriptor other = locked(m_file + ".lock");
    LockWait::setLongest(std::chrono::seconds(0));
    const FileLock lock(m_file);
    EXPECT_EQ(errno, EWOULDBLOCK);
    EXPECT_EQ(lock.getResult(), LockResult::BUSY);
    EXPECT_FALSE(lock.isHeld());
}

TEST_F(FileLockTest, IsHadAsSoonAsTheOtherOneGivesItBack) {
    const FileDescriptor other = locked(m_file + ".lock");
    std::promise<bool> isHeld;
    std::thread waiting([&] { isHeld.set_value(FileLock(m_file).isHeld()); });
    waitForAWaiter();
    flock(other.get(), LOCK_UN);
    waiting.join();
    EXPECT_TRUE(isHeld.get_future().get());
}

TEST_F(FileLockTest, AProcessThatHasHadItForLongLetsOthersInFirst) {
    {
        const FileLock lock(m_file);
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(25);
        while (std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
    }
    WrappedCalls::reset();
    const FileLock lock(m_file);
    EXPECT_EQ(WrappedCalls::microsecondsSlept(), std::vector<unsigned>{300});
}

TEST_F(FileLockTest, TheLockFileHasTheModeOfTheFileWhateverTheMask) {
    writeFile(m_file, "content");
    const mode_t mask = umask(077);
    for (const mode_t mode : {0666u, 0660u, 0600u, 0640u, 0444u, 0644u}) {
        chmod(m_file.c_str(), mode);
        EXPECT_TRUE(FileLock(m_file).isHeld());
        EXPECT_EQ(modeOf(m_file + ".lock"), mode);
    }
    chmod(m_file.c_str(), 0220);
    EXPECT_TRUE(FileLock(m_file).isHeld());
    EXPECT_EQ(modeOf(m_file + ".lock"), 0660u) << "who may only write the file has to open its lock file";
    chmod(m_file.c_str(), 0777);
    EXPECT_TRUE(FileLock(m_file).isHeld());
    EXPECT_EQ(modeOf(m_file + ".lock"), 0666u) << "nobody runs it";
    umask(mask);
}

// A process that found it before its mode is set could not open it.
TEST_F(FileLockTest, TheLockFileIsNotThereBeforeOthersCanOpenIt) {
    writeFile(m_file, "content");
    chmod(m_file.c_str(), 0666);
    const mode_t mask = umask(077);
    int changes = 0;
    WrappedCalls::get().beforeModeChange = [&] {
        ++changes;
        EXPECT_NE(0, access((m_file + ".lock").c_str(), F_OK));
    };
    EXPECT_TRUE(FileLock(m_file).isHeld());
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(countFiles(m_folder.path()), 2) << "the file and its lock file";
    umask(mask);
}

TEST_F(FileLockTest, TheLockFileIsMadeAlsoWhereFilesHaveOneNameOnly) {
    writeFile(m_file, "content");
    chmod(m_file.c_str(), 0666);
    const mode_t mask = umask(077);
    WrappedCalls::get().linkError = EPERM;
    EXPECT_TRUE(FileLock(m_file).isHeld());
    EXPECT_EQ(modeOf(m_file + ".lock"), 0666u);
    EXPECT_EQ(countFiles(m_folder.path()), 2) << "the file and its lock file";
    umask(mask);
}

TEST_F(FileLockTest, WhatSomebodyPutsInTheLockFilesPlaceIsNotOpenedToOthers) {
    writeFile(m_file, "content");
    chmod(m_file.c_str(), 0666);
    writeFile(m_file + ".lock", "a secret");
    chmod((m_file + ".lock").c_str(), 0600);
    EXPECT_TRUE(FileLock(m_file).isHeld());
    EXPECT_EQ(modeOf(m_file + ".lock"), 0600u);
    writeFile(m_file + ".lock", "");
    ASSERT_EQ(link((m_file + ".lock").c_str(), (m_folder / "elsewhere").c_str()), 0);
    EXPECT_TRUE(FileLock(m_file).isHeld());
    EXPECT_EQ(modeOf(m_file + ".lock"), 0600u);
}

TEST_F(FileLockTest, UsersWhoMayWriteTheFileLoseNoChange) {
    const int changes = 100;
    chmod(m_folder.path().c_str(), 0777);
    writeFile(m_file, "0");
    chmod(m_file.c_str(), 0666);
    const mode_t mask = umask(077);
    const auto count = [] {
        for (int i = 0; i < changes; ++i) {
            const FileLock lock("parameters.dat");
            const int value = lock.isHeld() ? std::stoi(readFile("parameters.dat")) : 0;
            if (!FileReplacement::replace("parameters.dat", std::to_string(value + 1)))
                return false;
        }
        return true;
    };
    std::promise<bool> ordinary;
    std::thread other([&] { ordinary.set_value(asOrdinaryUser(m_folder.path(), count)); });
    EXPECT_TRUE(inAnotherProcess([&] { return chdir(m_folder.path().c_str()) == 0 && count(); }));
    other.join();
    EXPECT_TRUE(ordinary.get_future().get());
    umask(mask);
    EXPECT_EQ(readFile(m_file), std::to_string(2 * changes));
}

// Users who may open the lock file would not notice a lock on the file itself.
TEST_F(FileLockTest, ALockFileThatTheUserMayNotOpenIsNotPassedOver) {
    writeFile(m_file, "content");
    chmod(m_file.c_str(), 0666);
    chmod(m_folder.path().c_str(), 0777);
    writeFile(m_file + ".lock", "");
    chmod((m_file + ".lock").c_str(), 0);
    EXPECT_TRUE(asOrdinaryUser(m_folder.path(), [] {
        const FileLock lock("parameters.dat");
        return errno == EACCES && lock.getResult() == LockResult::FAILED;
    }));
}

TEST_F(FileLockTest, WaitsForWhoCouldOnlyLockTheFileItself) {
    const FileDescriptor other = locked(m_file);
    LockWait::setLongest(std::chrono::seconds(0));
    EXPECT_EQ(FileLock(m_file).getResult(), LockResult::BUSY);
    flock(other.get(), LOCK_UN);
    EXPECT_TRUE(FileLock(m_file).isHeld());
}

TEST_F(FileLockTest, WhoCouldOnlyLockTheFileItselfTakesTheLockFileThatIsMadeMeanwhile) {
    const FileDescriptor other = locked(m_file);
    chmod(m_folder.path().c_str(), 0555);
    std::promise<bool> lockFileIsLocked;
    std::thread waiting([&] {
        const WithoutPrivileges user; // this thread only
        const FileLock lock(m_file);
        lockFileIsLocked.set_value(lock.isHeld() && isLocked(m_file + ".lock") && !isLocked(m_file));
    });
    waitForAWaiter();
    chmod(m_folder.path().c_str(), 0755);
    writeFile(m_file + ".lock", "");
    flock(other.get(), LOCK_UN);
    waiting.join();
    EXPECT_TRUE(lockFileIsLocked.get_future().get());
}

TEST_F(FileLockTest, IsOpenedForWritingWhereTheFileSystemAsksForIt) {
    WrappedCalls::get().locksNeedWriting = true;
    EXPECT_TRUE(FileLock(m_file).isHeld());
}

TEST_F(FileLockTest, IsToldApartWhereTheFileSystemHasNoLocks) {
    for (const int error : {ENOLCK, ENOTSUP, EOPNOTSUPP, EINVAL, ENOSYS}) {
        WrappedCalls::get().lockError = error;
        EXPECT_EQ(FileLock(m_file).getResult(), LockResult::UNSUPPORTED) << error;
    }
    WrappedCalls::get().lockError = EIO;
    EXPECT_EQ(FileLock(m_file).getResult(), LockResult::FAILED);
}

TEST_F(FileLockTest, IsUnsupportedForWhoMayOnlyReadWhereTheFileSystemAsksForWriting) {
    WrappedCalls::get().locksNeedWriting = true;
    writeFile(m_file + ".lock", "");
    chmod((m_file + ".lock").c_str(), 0444);
    EXPECT_TRUE(boundByFileModes([this] { return FileLock(m_file).getResult() == LockResult::UNSUPPORTED; }));
}

} // namespace
