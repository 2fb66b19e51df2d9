#include "BundleTest.h"

#include <sys/stat.h>

using ::testing::IsEmpty;

class LaunchByInfoPlist : public BundleTest {
protected:
    LaunchByInfoPlist() { addBundle("/A.app", "A"); }

    OSStatus openWith(const std::string& infoPlist) {
        writeFile(inRoot("/A.app/Contents/Info.plist"), infoPlist);
        return open("/A.app");
    }
};

TEST_F(LaunchByInfoPlist, TheExecutableNamedThereIsStarted) {
    addBundle("/A.app", "B", infoPlist("B"));
    EXPECT_EQ(reportOf(openedProcess("/A.app"))["executable"], inRoot("/A.app/Contents/MacOS/B"));
}

TEST_F(LaunchByInfoPlist, WithoutANameThereTheBundlesOwnNameCounts) {
    for (const std::string& content : {infoPlist(""), std::string("not a property list"), std::string(),
                                       infoPlist("B") + std::string(10 * 1024 * 1024, ' ')}) {
        EXPECT_EQ(openWith(content), noErr);
        const pid_t pid = openedProcess("/A.app");
        EXPECT_EQ(reportOf(pid)["executable"], inRoot("/A.app/Contents/MacOS/A"));
        end(pid);
    }
}

TEST_F(LaunchByInfoPlist, ANameThatLeavesTheFolderIsRefused) {
    copyExecutable(inRoot("/A.app/Contents/outside"));
    makeFolders(inRoot("/A.app/Contents/MacOS/folder"));
    copyExecutable(inRoot("/A.app/Contents/MacOS/folder/inside"));
    for (const char* name :
         {"../outside", "/bin/sh", "folder/inside", "A/", "/", ".", "..", "folder", "missing"})
        EXPECT_EQ(openWith(infoPlist(name)), kLSNoExecutableErr) << name;
    EXPECT_THAT(runningBundles(), IsEmpty());
}

TEST_F(LaunchByInfoPlist, APipeInItsPlaceIsNotWaitedFor) {
    ASSERT_EQ(mkfifo(inRoot("/A.app/Contents/Info.plist").c_str(), 0600), 0);
    EXPECT_EQ(open("/A.app"), noErr);
}
