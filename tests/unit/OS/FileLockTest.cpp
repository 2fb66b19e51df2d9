#include "FileLock.h"

#include "OtherProcess.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include <csignal>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

namespace {

bool isLocked(const std::string& path) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return flock(file.get(), LOCK_EX | LOCK_NB) != 0;
}

/// Waits until some thread waits for the lock of an open file.
void waitForAWaiterFor(int descriptor) {
    struct stat status;
    ASSERT_EQ(0, fstat(descriptor, &status));
    const std::string inode = ":" + std::to_string(status.st_ino) + " ";
    for (bool found = false; !found; std::this_thread::yield()) {
        std::ifstream locks("/proc/locks");
        for (std::string line; std::getline(locks, line);) {
            found |= line.find("-> FLOCK") != std::string::npos && line.find(inode) != std::string::npos;
        }
    }
}

class FileLockTest : public testing::Test {
protected:
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
    int counter = 0; // loaded and stored apart, so that only the lock keeps an addition from being lost
    std::thread threads[4];
    for (std::thread& thread : threads) {
        thread = std::thread([&] {
            for (int i = 0; i < 200; ++i) {
                const FileLock lock(m_file);
                __atomic_store_n(&counter, __atomic_load_n(&counter, __ATOMIC_RELAXED) + 1, __ATOMIC_RELAXED);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(800, counter);
}

TEST_F(FileLockTest, IsReleasedWhenItsProcessIsKilled) {
    int ready[2];
    ASSERT_EQ(0, pipe(ready));
    const pid_t child = fork();
    if (child == 0) {
        const FileLock lock(m_file);
        if (write(ready[1], "1", 1) == 1) {
            pause();
        }
        _exit(1);
    }
    char byte = 0;
    ASSERT_EQ(1, read(ready[0], &byte, 1));
    EXPECT_TRUE(isLocked(m_file + ".lock"));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_FALSE(isLocked(m_file + ".lock"));
    close(ready[0]);
    close(ready[1]);
}

TEST_F(FileLockTest, IsNotInheritedByAProgramThatIsStarted) {
    const FileLock lock(m_file);
    const std::string listing = m_folder / "descriptors";
    ASSERT_EQ(0, system(("ls -l /proc/self/fd > '" + listing + "'").c_str()));
    EXPECT_EQ(std::string::npos, readFile(listing).find(".lock"));
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
    ASSERT_EQ(0, symlink("nowhere", (m_file + ".lock").c_str())); // so that only the file can be locked
    const FileDescriptor old(open(m_file.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(lockExclusively(old.get()));
    std::promise<bool> newIsLocked;
    std::thread waiting([&] {
        const FileLock lock(m_file);
        newIsLocked.set_value(lock.isHeld() && isLocked(m_file));
    });
    waitForAWaiterFor(old.get());
    writeFile(m_folder / "next", "new");
    ASSERT_EQ(0, rename((m_folder / "next").c_str(), m_file.c_str()));
    flock(old.get(), LOCK_UN);
    waiting.join();
    EXPECT_TRUE(newIsLocked.get_future().get());
}

// Another one who can make it would hold another file's lock.
TEST_F(FileLockTest, DoesNotFallBackToTheFileWhereTheLockFileFailsForAnotherReason) {
    writeFile(m_file, "content");
    mkdir((m_file + ".lock").c_str(), 0777);
    const FileLock lock(m_file);
    EXPECT_FALSE(lock.isHeld());
    EXPECT_EQ(EISDIR, errno);
}

TEST_F(FileLockTest, CannotBeHeldInAMissingFolder) {
    const FileLock lock(m_folder / "missing/parameters.dat");
    EXPECT_FALSE(lock.isHeld());
    EXPECT_EQ(ENOENT, errno);
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

} // namespace
