#include "FileSystemManagement.h"

#include "TemporaryFolder.h"
#include "TextFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <pwd.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using FileSystemManagement::getUserDesktopFolder;

namespace {

/// Sets or clears a variable for the length of a scope.
class Environment {
public:
    Environment(const char* name, const char* value) : m_name(name) {
        const char* before = getenv(name);
        m_wasSet = before != nullptr;
        m_before = m_wasSet ? before : "";
        value != nullptr ? setenv(name, value, 1) : unsetenv(name);
    }
    ~Environment() { m_wasSet ? setenv(m_name.c_str(), m_before.c_str(), 1) : unsetenv(m_name.c_str()); }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    std::string m_name;
    std::string m_before;
    bool m_wasSet;
};

class UserDesktopFolderLinuxTest : public testing::Test {
protected:
    std::string desktopWith(const std::string& settings) {
        writeFile(m_folder / "user-dirs.dirs", settings);
        return getUserDesktopFolder();
    }

    TemporaryFolder m_folder;
    Environment m_home{"HOME", "/home/someone"};
    Environment m_config{"XDG_CONFIG_HOME", m_folder.path().c_str()};
};

} // namespace

TEST_F(UserDesktopFolderLinuxTest, IsTheHomeFoldersDesktopWithoutSettings) {
    EXPECT_EQ(getUserDesktopFolder(), "/home/someone/Desktop");
    EXPECT_EQ(desktopWith(""), "/home/someone/Desktop");
    EXPECT_EQ(desktopWith("XDG_DOWNLOAD_DIR=\"$HOME/Downloads\"\n"), "/home/someone/Desktop");
}

TEST_F(UserDesktopFolderLinuxTest, IsTheSettingBelowTheHomeFolder) {
    EXPECT_EQ(desktopWith("# comment\n"
                          "XDG_DOWNLOAD_DIR=\"$HOME/Downloads\"\n"
                          "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n"
                          "XDG_MUSIC_DIR=\"$HOME/Music\"\n"),
              "/home/someone/Schreibtisch");
}

TEST_F(UserDesktopFolderLinuxTest, IsAnAbsoluteSetting) {
    EXPECT_EQ(desktopWith("XDG_DESKTOP_DIR=\"/data/desk top\"\n"), "/data/desk top");
    EXPECT_EQ(desktopWith("XDG_DESKTOP_DIR=\"/\"\n"), "/");
}

TEST_F(UserDesktopFolderLinuxTest, IsTheHomeFolderItselfWhenTheSettingIsSwitchedOff) {
    EXPECT_EQ(desktopWith("XDG_DESKTOP_DIR=\"$HOME/\"\n"), "/home/someone");
    EXPECT_EQ(desktopWith("XDG_DESKTOP_DIR=\"$HOME\"\n"), "/home/someone");
}

TEST_F(UserDesktopFolderLinuxTest, ToleratesBlanksAndAMissingLineEnd) {
    EXPECT_EQ(desktopWith("  XDG_DESKTOP_DIR =\t\"$HOME/D//\"  # here"), "/home/someone/D");
}

TEST_F(UserDesktopFolderLinuxTest, TakesEscapedCharactersLiterally) {
    EXPECT_EQ(desktopWith("XDG_DESKTOP_DIR=\"$HOME/a\\\"b\\$c\\\\d\"\n"), "/home/someone/a\"b$c\\d");
    EXPECT_EQ(desktopWith("XDG_DESKTOP_DIR=\"$HOME/a\\\n"), "/home/someone/a\\") << "nothing follows";
}

TEST_F(UserDesktopFolderLinuxTest, TheLastSettingCounts) {
    EXPECT_EQ(desktopWith("XDG_DESKTOP_DIR=\"$HOME/1\"\nXDG_DESKTOP_DIR=\"$HOME/2\"\n"), "/home/someone/2");
}

TEST_F(UserDesktopFolderLinuxTest, IgnoresSettingsOfAnyOtherForm) {
    for (const char* line :
         {"XDG_DESKTOP_DIR=\"relative\"", "XDG_DESKTOP_DIR=$HOME/unquoted", "XDG_DESKTOP_DIR=\"\"",
          "XDG_DESKTOP_DIR=", "XDG_DESKTOP_DIR", "#XDG_DESKTOP_DIR=\"/commented\"", "XDG_DESKTOP_DIRS=\"/x\"",
          "XDG_DESKTOP_DIR=\"$HOMEPAGE/x\"", "XDG_DESKTOP_DIR=\"~/x\"", "export XDG_DESKTOP_DIR=\"/x\"",
          "XDG_DESKTOP_DIR=\"\\", ""})
        EXPECT_EQ(desktopWith(std::string(line) + "\n"), "/home/someone/Desktop") << line;
}

TEST_F(UserDesktopFolderLinuxTest, ReadsTheSettingsOfTheHomeFolderWithoutAConfigurationFolder) {
    const std::string home = m_folder / "home";
    ASSERT_EQ(mkdir(home.c_str(), 0777), 0);
    ASSERT_EQ(mkdir((home + "/.config").c_str(), 0777), 0);
    writeFile(home + "/.config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/Bureau\"\n");
    const Environment homeVariable("HOME", home.c_str());
    for (const char* configuration : {static_cast<const char*>(nullptr), "", "relative"}) {
        const Environment configurationVariable("XDG_CONFIG_HOME", configuration);
        EXPECT_EQ(getUserDesktopFolder(), home + "/Bureau");
    }
}

TEST_F(UserDesktopFolderLinuxTest, TakesTheHomeFolderFromTheUserDatabaseWithoutAVariable) {
    const Environment home("HOME", nullptr);
    const std::string expected = getpwuid(getuid())->pw_dir;
    EXPECT_EQ(getUserDesktopFolder(), expected == "/" ? "/Desktop" : expected + "/Desktop");
}

TEST_F(UserDesktopFolderLinuxTest, TheRootFolderMayBeTheHomeFolder) {
    const Environment home("HOME", "/");
    EXPECT_EQ(getUserDesktopFolder(), "/Desktop");
    EXPECT_EQ(desktopWith("XDG_DESKTOP_DIR=\"$HOME/D\"\n"), "/D");
    EXPECT_EQ(desktopWith("XDG_DESKTOP_DIR=\"$HOME/\"\n"), "/");
}

TEST_F(UserDesktopFolderLinuxTest, ToleratesASeparatorAtTheEndOfTheHomeFolder) {
    const Environment home("HOME", "/home/someone/");
    EXPECT_EQ(getUserDesktopFolder(), "/home/someone/Desktop");
    EXPECT_EQ(desktopWith("XDG_DESKTOP_DIR=\"$HOME/D\"\n"), "/home/someone/D");
}
