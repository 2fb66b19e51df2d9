#include "CoreServices/LaunchLock.h"

#include "BundleTest.h"

#include <atomic>
#include <unistd.h>

using LinuxPlatform::LaunchLock;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::chrono::seconds LONG(60);

class LaunchLocks : public testing::Test {
protected:
    std::string folder() const { return m_folder / "locks"; }
    std::string file() const { return folder() + "/launch.lock"; }

    /// The message on standard error if no lock can be taken, which is known without waiting.
    std::string saidOfRefusal() const {
        testing::internal::CaptureStderr();
        EXPECT_FALSE(LaunchLock(file(), LONG).isHeld());
        return testing::internal::GetCapturedStderr();
    }

    TemporaryFolder m_folder;
};

TEST_F(LaunchLocks, TheSecondWaitsForTheFirst) {
    std::atomic<bool> isGivenUp(false);
    std::atomic<bool> wasGivenUp(false);
    std::thread second;
    {
        const LaunchLock first(file(), LONG);
        EXPECT_TRUE(first.isHeld());
        second = std::thread([&] {
            const LaunchLock lock(file(), LONG);
            wasGivenUp = isGivenUp && lock.isHeld();
        });
        EXPECT_FALSE(LaunchLock(file(), std::chrono::milliseconds(20)).isHeld());
        isGivenUp = true;
    }
    second.join();
    EXPECT_TRUE(wasGivenUp);
}

TEST_F(LaunchLocks, AreHeldByOneOfManyAtATime) {
    std::atomic<int> holders(0);
    std::atomic<int> failures(0);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                const LaunchLock lock(file(), LONG);
                failures += !lock.isHeld() || ++holders != 1;
                --holders;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
}

TEST_F(LaunchLocks, WaitsNoLongerThanAskedAndSaysSo) {
    const LaunchLock first(file(), LONG);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(LaunchLock(file(), std::chrono::milliseconds(20)).isHeld());
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                AllOf(StartsWith("CoreServices: no lock for starting applications (" + file()),
                      HasSubstr("timed out")));
}

TEST_F(LaunchLocks, MakeAFolderForThisUserAloneAndLeaveNoFileInIt) {
    struct stat status;
    {
        const LaunchLock lock(file(), LONG);
        ASSERT_EQ(stat(file().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600u);
    }
    EXPECT_NE(0, access(file().c_str(), F_OK));
    ASSERT_EQ(stat(folder().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
}

TEST_F(LaunchLocks, InAFolderThatIsOpenToOthersAreRefused) {
    ASSERT_EQ(mkdir(folder().c_str(), 0700), 0);
    ASSERT_EQ(chmod(folder().c_str(), 0701), 0);
    EXPECT_THAT(saidOfRefusal(), HasSubstr("Operation not permitted"));
    EXPECT_NE(0, access(file().c_str(), F_OK));
}

TEST_F(LaunchLocks, InAFolderOfAnotherUserAreRefused) {
    // The superuser can give a folder away; an ordinary user uses a folder of the superuser's.
    if (geteuid() == 0) {
        ASSERT_EQ(mkdir(folder().c_str(), 0700), 0);
        ASSERT_EQ(chown(folder().c_str(), 65534, 65534), 0);
    } else {
        ASSERT_EQ(symlink("/root", folder().c_str()), 0);
    }
    EXPECT_THAT(saidOfRefusal(), StartsWith("CoreServices: no lock for starting applications"));
}

TEST_F(LaunchLocks, InALinkedFolderAreRefused) {
    ASSERT_EQ(mkdir((m_folder / "elsewhere").c_str(), 0700), 0);
    ASSERT_EQ(symlink("elsewhere", folder().c_str()), 0);
    EXPECT_THAT(saidOfRefusal(), HasSubstr("Not a directory"));
}

TEST_F(LaunchLocks, OnALinkAreRefused) {
    ASSERT_EQ(mkdir(folder().c_str(), 0700), 0);
    ASSERT_EQ(symlink("../victim", file().c_str()), 0);
    EXPECT_THAT(saidOfRefusal(), HasSubstr("symbolic links"));
    EXPECT_NE(0, access((m_folder / "victim").c_str(), F_OK));
}

TEST_F(LaunchLocks, HaveAFileForEachRoot) {
    const auto fileFor = [](const std::string& root) {
        const ScopedVariable variable("PLATFORM_ROOT", root.c_str());
        return LinuxPlatform::launchLockFile();
    };
    EXPECT_EQ(fileFor(m_folder.path() + "//"), fileFor(m_folder.path()));
    EXPECT_NE(fileFor(m_folder.path()), fileFor(m_folder / "other"));
    EXPECT_NE(fileFor(m_folder.path()), fileFor(""));
    EXPECT_THAT(fileFor(""), testing::MatchesRegex("(/run/user/[0-9]+|/tmp/zevolauncher-[0-9]+)"
                                                   "/zevolauncher-[0-9a-f]+\\.lock"));
}

} // namespace
