#include "BundleTest.h"

#include "OtherProcess.h"

#include <pwd.h>
#include <unistd.h>

class Folders : public BundleTest {
protected:
    static std::string find(FSVolumeRefNum domain, Boolean create = kDontCreateFolder) {
        FSRef reference;
        const OSErr status = FSFindFolder(domain, kApplicationSupportFolderType, create, &reference);
        return status == noErr ? pathOf(reference) : "status " + std::to_string(status);
    }

    static mode_t modeOf(const std::string& path) {
        struct stat found = {};
        stat(path.c_str(), &found);
        return found.st_mode;
    }
};

TEST_F(Folders, TheUsersIsTheDataHome) {
    const ScopedVariable data("XDG_DATA_HOME", "/somewhere/data");
    EXPECT_EQ(find(kUserDomain), "/somewhere/data");
}

TEST_F(Folders, ADataHomeEndsWithoutASeparator) {
    const ScopedVariable data("XDG_DATA_HOME", "/somewhere/data//");
    EXPECT_EQ(find(kUserDomain), "/somewhere/data");
}

TEST_F(Folders, ARelativeOrEmptyDataHomeDoesNotCount) {
    const ScopedVariable home("HOME", "/home/somebody/");
    for (const char* value : {"data", "", "./data"}) {
        const ScopedVariable data("XDG_DATA_HOME", value);
        EXPECT_EQ(find(kUserDomain), "/home/somebody/.local/share");
    }
}

// The callers' buffers could not hold it, and with an empty path they would use the root of the file system.
TEST_F(Folders, ADataHomeThatIsTooLongIsSaidAndDoesNotCount) {
    const ScopedVariable home("HOME", "/home/somebody");
    const std::string longest = "/" + std::string(2033, 'x');
    {
        const ScopedVariable data("XDG_DATA_HOME", longest.c_str());
        EXPECT_EQ(find(kUserDomain), longest);
    }
    const ScopedVariable data("XDG_DATA_HOME", (longest + "x").c_str());
    testing::internal::CaptureStderr();
    EXPECT_EQ(find(kUserDomain), "/home/somebody/.local/share");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "CoreServices: XDG_DATA_HOME has 2035 characters, which is too long for a folder; it does not "
              "count\n");
}

TEST_F(Folders, WhereTheHomeFolderIsTooLongTheUserDatabaseIsAsked) {
    const ScopedVariable data("XDG_DATA_HOME", nullptr);
    const ScopedVariable home("HOME", ("/" + std::string(4000, 'x')).c_str());
    testing::internal::CaptureStderr();
    EXPECT_EQ(find(kUserDomain), std::string(getpwuid(geteuid())->pw_dir) + "/.local/share");
    EXPECT_NE("", testing::internal::GetCapturedStderr());
}

TEST_F(Folders, TheMachinesIsNotFoundWhereItsPathIsTooLong) {
    const ScopedVariable root("PLATFORM_ROOT", ("/" + std::string(2040, 'x')).c_str());
    EXPECT_EQ(find(kLocalDomain), "status -43");
}

TEST_F(Folders, WithoutADataHomeItIsInTheHomeFolder) {
    const ScopedVariable data("XDG_DATA_HOME", nullptr);
    const ScopedVariable home("HOME", "/home/somebody");
    EXPECT_EQ(find(kUserDomain), "/home/somebody/.local/share");
}

TEST_F(Folders, AHomeFolderAtTheRootGetsNoSecondSeparator) {
    const ScopedVariable data("XDG_DATA_HOME", nullptr);
    const ScopedVariable home("HOME", "/");
    EXPECT_EQ(find(kUserDomain), "/.local/share");
}

TEST_F(Folders, WithoutAHomeVariableTheUserDatabaseIsAsked) {
    const ScopedVariable data("XDG_DATA_HOME", nullptr);
    const std::string expected = std::string(getpwuid(geteuid())->pw_dir) + "/.local/share";
    for (const char* value : {static_cast<const char*>(nullptr), "", "relative"}) {
        const ScopedVariable home("HOME", value);
        EXPECT_EQ(find(kUserDomain), expected);
    }
}

TEST_F(Folders, AUserWithoutAHomeHasNone) {
    const ScopedVariable data("XDG_DATA_HOME", nullptr);
    const ScopedVariable home("HOME", nullptr);
    if (geteuid() == 0) {
        const uid_t nobodyKnows = 4242424;
        EXPECT_TRUE(
            inAnotherProcess([&] { return setuid(nobodyKnows) == 0 && find(kUserDomain) == "status -43"; }));
    } else {
        EXPECT_NE("", find(kUserDomain)) << "only the superuser can become a user without an entry";
    }
}

TEST_F(Folders, ThoseOfTheMachineAreBelowTheRoot) {
    EXPECT_EQ(find(kLocalDomain), inRoot("/var/lib"));
    const ScopedVariable none("PLATFORM_ROOT", nullptr);
    EXPECT_EQ(find(kLocalDomain), "/var/lib");
}

TEST_F(Folders, TheUsersDoesNotMoveWithTheRoot) {
    const ScopedVariable data("XDG_DATA_HOME", "/somewhere/data");
    EXPECT_EQ(find(kUserDomain), "/somewhere/data");
}

TEST_F(Folders, OneThatDoesNotExistYetIsFoundAndNotMade) {
    const std::string home = inRoot("/fresh/account");
    const ScopedVariable data("XDG_DATA_HOME", home.c_str());
    EXPECT_EQ(find(kUserDomain), home);
    EXPECT_NE(0, access(inRoot("/fresh").c_str(), F_OK));
}

TEST_F(Folders, AReferenceStaysGoodWhileTheFolderComesAndGoes) {
    const std::string home = inRoot("/data");
    const ScopedVariable data("XDG_DATA_HOME", home.c_str());
    FSRef reference;
    ASSERT_EQ(FSFindFolder(kUserDomain, kApplicationSupportFolderType, kDontCreateFolder, &reference), noErr);
    makeFolders(home);
    EXPECT_EQ(pathOf(reference), home);
    ASSERT_EQ(rmdir(home.c_str()), 0);
    EXPECT_EQ(pathOf(reference), home);
}

TEST_F(Folders, AreMadeOnDemandPrivateForTheUserOpenForTheMachine) {
    const std::string home = inRoot("/fresh/account");
    const ScopedVariable data("XDG_DATA_HOME", home.c_str());
    const mode_t mask = umask(022);
    EXPECT_EQ(find(kUserDomain, kCreateFolder), home);
    EXPECT_EQ(find(kUserDomain, kCreateFolder), home) << "a second time";
    EXPECT_EQ(modeOf(home), S_IFDIR | 0700u);
    EXPECT_EQ(find(kLocalDomain, kCreateFolder), inRoot("/var/lib"));
    EXPECT_EQ(modeOf(inRoot("/var/lib")), S_IFDIR | 0755u);
    umask(mask);
}

TEST_F(Folders, InAHomeTheTwoFoldersAreMadePrivateWhateverTheMask) {
    const ScopedVariable data("XDG_DATA_HOME", nullptr);
    const ScopedVariable home("HOME", inRoot("/home").c_str());
    makeFolders(inRoot("/home"));
    const mode_t mask = umask(0);
    EXPECT_EQ(find(kUserDomain, kCreateFolder), inRoot("/home/.local/share"));
    umask(mask);
    EXPECT_EQ(modeOf(inRoot("/home/.local")), S_IFDIR | 0700u);
    EXPECT_EQ(modeOf(inRoot("/home/.local/share")), S_IFDIR | 0700u);
}

TEST_F(Folders, AHomeThatDoesNotExistIsNotMade) {
    const ScopedVariable home("HOME", inRoot("/missing/home").c_str());
    for (const char* variable : {static_cast<const char*>(nullptr), "/missing/home/.local/share"}) {
        const std::string path = inRoot(variable != nullptr ? variable : "");
        const ScopedVariable data("XDG_DATA_HOME", variable != nullptr ? path.c_str() : nullptr);
        EXPECT_EQ(find(kUserDomain, kCreateFolder), "status -43");
        EXPECT_NE(0, access(inRoot("/missing").c_str(), F_OK));
    }
}

TEST_F(Folders, WhatStopsTheirCreationIsReported) {
    writeFile(inRoot("/file"), "");
    const std::string below = inRoot("/file/data");
    const ScopedVariable data("XDG_DATA_HOME", below.c_str());
    EXPECT_EQ(find(kUserDomain, kCreateFolder), "status -43");
    const std::string itself = inRoot("/file");
    const ScopedVariable file("XDG_DATA_HOME", itself.c_str());
    EXPECT_EQ(find(kUserDomain, kCreateFolder), "status -43");
    const std::string tooLong = inRoot("/" + std::string(300, 'n'));
    const ScopedVariable longName("XDG_DATA_HOME", tooLong.c_str());
    EXPECT_EQ(find(kUserDomain, kCreateFolder), "status -37");
}

TEST_F(Folders, OtherDomainsAndTypesAreRefused) {
    FSRef reference;
    EXPECT_EQ(FSFindFolder(0, kApplicationSupportFolderType, kDontCreateFolder, &reference), nsvErr);
    EXPECT_EQ(FSFindFolder(-32766, kApplicationSupportFolderType, kDontCreateFolder, &reference), nsvErr);
    EXPECT_EQ(FSFindFolder(kUserDomain, 0x6465736B, kDontCreateFolder, &reference), fnfErr);
    EXPECT_EQ(FSFindFolder(kUserDomain, kApplicationSupportFolderType, kDontCreateFolder, nullptr), paramErr);
}
