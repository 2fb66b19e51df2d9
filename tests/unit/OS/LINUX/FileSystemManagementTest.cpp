#include "FileSystemManagement.h"

#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Trees.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

// This host's application-data folders, and its device that is always full.

using namespace FileSystemManagement;

namespace {

class FileSystemManagementLinuxTest : public testing::Test {
protected:
    ~FileSystemManagementLinuxTest() override { setenv("HOME", m_home.c_str(), 1); }

    void makeFolder(const std::string& name) { ASSERT_EQ(mkdir((m_folder / name).c_str(), 0777), 0); }
    bool exists(const std::string& name) { return access((m_folder / name).c_str(), F_OK) == 0; }

    const std::string m_home = getenv("HOME");
    TemporaryFolder m_folder;
    KeepMask m_mask{022};
};

} // namespace

TEST_F(FileSystemManagementLinuxTest, TheSystemsApplicationDataFoldersAreThere) {
    ASSERT_TRUE(createFolder(m_folder / "home/.local/share"));
    setenv("XDG_DATA_HOME", (m_folder / "home/.local/share").c_str(), 1);
    EXPECT_EQ(getUserAppDataDirectory(), m_folder / "home/.local/share");
    unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(getCommonAppDataDirectory(), "/var/lib");
}

TEST_F(FileSystemManagementLinuxTest, OnlyWhatLiesBelowTheUsersBaseFoldersIsOpenToAll) {
    makeFolder("home");
    setenv("HOME", (m_folder / "home").c_str(), 1);
    unsetenv("XDG_DATA_HOME");
    const std::string path = getUserAppDataDirectory() + "/Ferrow/Zevo";
    EXPECT_FALSE(exists("home/.local")) << "asking makes nothing";
    EXPECT_TRUE(createFolder(path));
    EXPECT_EQ(modeOf(m_folder / "home/.local"), 0700u);
    EXPECT_EQ(modeOf(m_folder / "home/.local/share"), 0700u);
    EXPECT_EQ(modeOf(m_folder / "home/.local/share/Ferrow"), 0777u);
    EXPECT_EQ(modeOf(path), 0777u);
}

TEST_F(FileSystemManagementLinuxTest, NoFolderIsMadeInAHomeThatDoesNotExist) {
    setenv("HOME", (m_folder / "missing/home").c_str(), 1);
    unsetenv("XDG_DATA_HOME");
    EXPECT_FALSE(createFolder(getUserAppDataDirectory() + "/Ferrow"));
    EXPECT_FALSE(exists("missing"));
}

TEST_F(FileSystemManagementLinuxTest, TheMachinesBaseFoldersAreNotOpenToAll) {
    setenv("PLATFORM_ROOT", m_folder.path().c_str(), 1);
    EXPECT_TRUE(createFolder(getCommonAppDataDirectory() + "/Ferrow"));
    unsetenv("PLATFORM_ROOT");
    EXPECT_EQ(modeOf(m_folder / "var"), 0755u);
    EXPECT_EQ(modeOf(m_folder / "var/lib"), 0755u);
    EXPECT_EQ(modeOf(m_folder / "var/lib/Ferrow"), 0777u);
}

TEST_F(FileSystemManagementLinuxTest, CopyFailsWhenTheDiskIsFull) {
    writeFile(m_folder / "small", "content");
    writeFile(m_folder / "large", std::string(5000000, 'x'));
    EXPECT_FALSE(Copy(m_folder / "small", "/dev/full"));
    EXPECT_FALSE(Copy(m_folder / "large", "/dev/full"));
}
