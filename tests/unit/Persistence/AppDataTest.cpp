#include "AppData.h"

#include "AppDataManager.h"
#include "ExecutableFolder.h"
#include "FileSystemManagement.h"
#include "FolderNames.h"
#include "StoreTest.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

bool exists(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

class AppDataTest : public StoreTest {
protected:
    AppDataTest() { AppData::setGlobalScope("Zevo"); }

    std::string user() const { return m_folder / "user"; }
    std::string machine() const { return m_folder / "var/lib"; }
    static void create(const std::string& folder, const std::string& file) {
        ASSERT_TRUE(FileSystemManagement::createFile(folder, file));
    }

    const AppData m_data{"ZevoLauncher"};
};

// ---- paths

TEST_F(AppDataTest, TheDataPathsLieUnderTheFamilysFolderWithoutASeparatorAtTheEnd) {
    std::string userPath, allUsersPath;
    AppDataManager::getInstance()->getDataPath(userPath, allUsersPath, "Other");
    EXPECT_EQ(userPath, user() + "/Ferrow/Other");
    EXPECT_EQ(allUsersPath, machine() + "/Ferrow/Other");
}

TEST_F(AppDataTest, TheAllUsersDataPathHasTheGlobalScopeAndASeparatorAtTheEnd) {
    EXPECT_EQ(AppData::getAllUsersDataPath(), machine() + "/Ferrow/Zevo/");
}

TEST_F(AppDataTest, AnotherScopeCountsForLaterPaths) {
    AppData::setGlobalScope("Other");
    EXPECT_EQ(AppData::getAllUsersDataPath(), machine() + "/Ferrow/Other/");
    EXPECT_EQ(m_data.getPathForFile("file"), user() + "/Ferrow/Other/ZevoLauncher/");
}

TEST_F(AppDataTest, AnEmptyScopeIsAnEmptyComponent) {
    AppData::setGlobalScope("");
    EXPECT_EQ(AppData::getAllUsersDataPath(), machine() + "/Ferrow//");
    EXPECT_EQ(m_data.getPathForFile("file"), user() + "/Ferrow//ZevoLauncher/");
}

TEST_F(AppDataTest, AFileOfTheUsersIsFoundInTheUsersFolder) {
    create(user() + "/Ferrow/Zevo/ZevoLauncher", "file");
    create(machine() + "/Ferrow/Zevo/ZevoLauncher", "file");
    EXPECT_EQ(m_data.getPathForFile("file"), user() + "/Ferrow/Zevo/ZevoLauncher/");
}

TEST_F(AppDataTest, AFileOfAllUsersIsFoundInTheMachinesFolderWithASeparatorAtTheEnd) {
    create(user() + "/Ferrow/Zevo/ZevoLauncher", "another");
    create(machine() + "/Ferrow/Zevo/ZevoLauncher", "file");
    EXPECT_EQ(m_data.getPathForFile("file"), machine() + "/Ferrow/Zevo/ZevoLauncher/");
}

TEST_F(AppDataTest, AFileBesideTheExecutableIsFoundLast) {
    const ExecutableFolder executable;
    create(executable / "ZevoLauncher", "file");
    EXPECT_EQ(m_data.getPathForFile("file"), executable / "ZevoLauncher/");
    create(machine() + "/Ferrow/Zevo/ZevoLauncher", "file");
    EXPECT_EQ(m_data.getPathForFile("file"), machine() + "/Ferrow/Zevo/ZevoLauncher/");
}

TEST_F(AppDataTest, AFileThatIsNowhereBelongsIntoTheUsersFolderThoughThatDoesNotExist) {
    EXPECT_EQ(m_data.getPathForFile("file"), user() + "/Ferrow/Zevo/ZevoLauncher/");
    EXPECT_FALSE(exists(user()));
}

TEST_F(AppDataTest, AFolderOrADanglingLinkOfThatNameCountsAsTheFile) {
    create(machine() + "/Ferrow/Zevo/ZevoLauncher/file", "inside");
    EXPECT_EQ(m_data.getPathForFile("file"), machine() + "/Ferrow/Zevo/ZevoLauncher/");
    create(user() + "/Ferrow/Zevo/ZevoLauncher", "another");
    ASSERT_EQ(symlink("nowhere", (user() + "/Ferrow/Zevo/ZevoLauncher/file").c_str()), 0);
    EXPECT_EQ(m_data.getPathForFile("file"), user() + "/Ferrow/Zevo/ZevoLauncher/");
}

// ---- listing

TEST_F(AppDataTest, FilesOfBothFoldersAreListedOnceInAscendingOrderAndWithoutTheDots) {
    create(user() + "/Ferrow/Zevo/ZevoLauncher", "b.txt");
    create(user() + "/Ferrow/Zevo/ZevoLauncher", "a.txt");
    create(machine() + "/Ferrow/Zevo/ZevoLauncher", "b.txt");
    create(machine() + "/Ferrow/Zevo/ZevoLauncher", "B.txt");
    EXPECT_THAT(m_data.getFiles(), ElementsAre("B.txt", "a.txt", "b.txt"));
}

TEST_F(AppDataTest, OnlyNamesWithADotAreLikeThePattern) {
    create(user() + "/Ferrow/Zevo/ZevoLauncher", "plain");
    create(user() + "/Ferrow/Zevo/ZevoLauncher", "dotted.txt");
    EXPECT_THAT(m_data.getFiles(), ElementsAre("dotted.txt"));
}

TEST_F(AppDataTest, FilesInSubfoldersAreListedByTheirNames) {
    create(user() + "/Ferrow/Zevo/ZevoLauncher/below", "a.txt");
    create(user() + "/Ferrow/Zevo/ZevoLauncher/below/deeper", "b.txt");
    create(machine() + "/Ferrow/Zevo/ZevoLauncher/elsewhere", "b.txt");
    EXPECT_THAT(m_data.getFiles(), ElementsAre("a.txt", "b.txt"));
}

// The pattern is compared with the path below the domain's folder, so the dot of a folder's name counts for
// its files.
TEST_F(AppDataTest, NoFolderIsListedAndNoPathStandsBeforeAName) {
    create(user() + "/Ferrow/Zevo/ZevoLauncher/sub.d", "inner");
    create(user() + "/Ferrow/Zevo/ZevoLauncher/sub.d/inner.d", "inmost");
    ASSERT_EQ(symlink("sub.d", (user() + "/Ferrow/Zevo/ZevoLauncher/link.d").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", (user() + "/Ferrow/Zevo/ZevoLauncher/dangling.txt").c_str()), 0);
    EXPECT_THAT(m_data.getFiles(), ElementsAre("dangling.txt", "inmost", "inner"));
}

TEST_F(AppDataTest, WithoutFoldersNothingIsListed) {
    EXPECT_THAT(m_data.getFiles(), IsEmpty());
}

// ---- removing

TEST_F(AppDataTest, RemovingAllDataOfAScopeLeavesOtherScopes) {
    create(user() + "/Ferrow/Zevo/ZevoLauncher", "file");
    create(machine() + "/Ferrow/Zevo/ZevoLauncher", "file");
    create(user() + "/Ferrow/Other", "file");
    create(machine() + "/Ferrow/Other", "file");
    AppData::removeAllData("Zevo");
    EXPECT_FALSE(exists(user() + "/Ferrow/Zevo"));
    EXPECT_FALSE(exists(machine() + "/Ferrow/Zevo"));
    EXPECT_TRUE(exists(user() + "/Ferrow/Other/file"));
    EXPECT_TRUE(exists(machine() + "/Ferrow/Other/file"));
}

TEST_F(AppDataTest, RemovingAllDataRemovesTheUsersDownloadsAndDeliberatelyLeavesTheMachines) {
    create(user() + "/Ferrow/Downloads", "file");
    create(machine() + "/Ferrow/Downloads", "file");
    AppData::removeAllData("Zevo");
    EXPECT_FALSE(exists(user() + "/Ferrow"));
    EXPECT_TRUE(exists(machine() + "/Ferrow/Downloads/file"));
}

TEST_F(AppDataTest, TheFamilysFoldersGoWhenTheyAreEmptyAfterwards) {
    create(user() + "/Ferrow/Zevo", "file");
    create(machine() + "/Ferrow/Zevo", "file");
    AppData::removeAllData("Zevo");
    EXPECT_FALSE(exists(user() + "/Ferrow"));
    EXPECT_FALSE(exists(machine() + "/Ferrow"));
    EXPECT_TRUE(exists(user()));
    EXPECT_TRUE(exists(machine()));
}

TEST_F(AppDataTest, RemovingWhatIsNotThereDoesNothing) {
    AppData::removeAllData("Zevo");
    EXPECT_FALSE(exists(user()));
}

TEST_F(AppDataTest, RemovingDoesNotFollowLinksOutOfTheFolder) {
    create(m_folder / "elsewhere", "file");
    create(user() + "/Ferrow/Zevo", "file");
    ASSERT_EQ(symlink((m_folder / "elsewhere").c_str(), (user() + "/Ferrow/Zevo/link").c_str()), 0);
    AppData::removeAllData("Zevo");
    EXPECT_FALSE(exists(user() + "/Ferrow/Zevo"));
    EXPECT_TRUE(exists(m_folder / "elsewhere/file"));
}

// ---- names and tracing

TEST_F(AppDataTest, TheFolderNamesAreTheFamilysTheMakersAndTheDownloads) {
    EXPECT_EQ(FOLDERNAME_FERROW, "Ferrow");
    EXPECT_EQ(FOLDERNAME_BRISEL, "Brisel");
    EXPECT_EQ(FOLDERNAME_DOWNLOADS, "Downloads");
}

TEST_F(AppDataTest, TheManagerIsAlwaysTheSame) {
    EXPECT_EQ(AppDataManager::getInstance(), AppDataManager::getInstance());
}

TEST_F(AppDataTest, CallsAreTraced) {
    TraceCapture trace;
    { AppData("Domain").getPathForFile("file"); }
    EXPECT_THAT(trace.text(), HasSubstr("AppData::constructor\n"));
    EXPECT_THAT(trace.text(), HasSubstr("AppData::getPathForFile\n"));
    EXPECT_THAT(trace.text(), HasSubstr("  AppDataManager::getPathForFile\n"));
    EXPECT_THAT(trace.text(), HasSubstr("AppData::destructor\n"));
}

TEST_F(AppDataTest, CopiesAreCountedAndUncounted) {
    TraceCapture trace;
    {
        const AppData copy(m_data);
        EXPECT_EQ(copy.getPathForFile("file"), m_data.getPathForFile("file"));
        trace.tracer().PrintAllObjectsCount();
    }
    EXPECT_THAT(trace.text(), HasSubstr("AppData::copyconstructor\n"));
    EXPECT_THAT(trace.text(), HasSubstr("Class = AppData                       , count = 000001\n"));
}

} // namespace
