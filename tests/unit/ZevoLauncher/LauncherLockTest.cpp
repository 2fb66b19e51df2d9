#include "LauncherLock.h"

#include "TemporaryFolder.h"
#include "TextFile.h"

#include <gtest/gtest.h>
#include <memory>
#include <unistd.h>

namespace {

// The file then holds this process's pid only, however long the last launcher's was.
TEST(LauncherLock, TheNumberOfTheProcessReplacesALongerOne) {
    const TemporaryFolder folder;
    writeFile(folder / "launcher.lock", "123456789012\n");
    const LauncherLock lock(folder.path() + "/");
    EXPECT_EQ(readFile(folder / "launcher.lock"), std::to_string(getpid()) + "\n");
    EXPECT_EQ(lock.otherProcess(), getpid());
}

TEST(LauncherLock, TheNumberOfTheProcessReplacesAShorterOne) {
    const TemporaryFolder folder;
    writeFile(folder / "launcher.lock", "\n");
    const LauncherLock lock(folder.path() + "/");
    EXPECT_EQ(readFile(folder / "launcher.lock"), std::to_string(getpid()) + "\n");
}

TEST(LauncherLock, IsTakenOnceTheOtherLauncherHasEnded) {
    const TemporaryFolder folder;
    auto other = std::make_unique<LauncherLock>(folder.path() + "/");
    LauncherLock lock(folder.path() + "/");
    EXPECT_FALSE(other->isHeldByAnother());
    EXPECT_TRUE(lock.isHeldByAnother());
    other.reset();
    lock.waitForIt();
    EXPECT_FALSE(lock.isHeldByAnother());
    EXPECT_TRUE(LauncherLock(folder.path() + "/").isHeldByAnother());
}

} // namespace
