#include "BundleTest.h"

#include "CoreServices/Bundles.h"

#include <unistd.h>

using namespace LinuxPlatform;

TEST(Bundles, TheInnermostBundleCounts) {
    EXPECT_EQ(
        "/Applications/Quillmarsh.app/Contents/MacOS/Murmel.app",
        innermostBundle("/Applications/Quillmarsh.app/Contents/MacOS/Murmel.app/Contents/MacOS/Murmel"));
    EXPECT_EQ("/Applications/Quillmarsh.app",
              innermostBundle("/Applications/Quillmarsh.app/Contents/MacOS/Quillmarsh"));
}

TEST(Bundles, OnlyWholeComponentsNameABundle) {
    EXPECT_EQ("", innermostBundle("/opt/a.application/x"));
    EXPECT_EQ("", innermostBundle("/opt/a.app.old/x"));
    EXPECT_EQ("", innermostBundle("/opt/.app/x"));
    EXPECT_EQ("", innermostBundle("/opt/app/x"));
    EXPECT_EQ("", innermostBundle("/opt/x"));
    EXPECT_EQ("", innermostBundle(""));
    EXPECT_EQ("/a.app", innermostBundle("/a.app/x"));
    EXPECT_EQ("/opt/with blank.app", innermostBundle("/opt/with blank.app/x"));
}

TEST(Bundles, AFileNamedLikeABundleIsInNone) {
    EXPECT_EQ("", innermostBundle("/opt/tool.app"));
}

class PlatformRoot : public BundleTest {};

TEST_F(PlatformRoot, MovesBundlePathsOnly) {
    EXPECT_EQ(root() + "/Applications/A.app", intoRoot("/Applications/A.app"));
    EXPECT_EQ(root() + "/Applications/A.app/", intoRoot("/Applications/A.app/"));
    EXPECT_EQ(root() + "/A.app/Contents/Info.plist", intoRoot("/A.app/Contents/Info.plist"));
    EXPECT_EQ("/etc/passwd", intoRoot("/etc/passwd"));
    EXPECT_EQ("Applications/A.app", intoRoot("Applications/A.app"));
}

TEST_F(PlatformRoot, APathInTheRootIsTakenAsItIs) {
    EXPECT_EQ(root() + "/Applications/A.app", intoRoot(root() + "/Applications/A.app"));
}

TEST_F(PlatformRoot, ANeighbourWithALongerNameIsNotInTheRoot) {
    EXPECT_EQ(root() + root() + "2/A.app", intoRoot(root() + "2/A.app"));
    EXPECT_EQ("", outOfRoot(root() + "2/A.app"));
}

TEST_F(PlatformRoot, TrailingSeparatorsAreIgnored) {
    const ScopedVariable variable("PLATFORM_ROOT", (root() + "//").c_str());
    EXPECT_EQ(root(), rootFolder());
}

TEST_F(PlatformRoot, ARelativeOneCountsFromTheCurrentFolder) {
    char before[4096];
    ASSERT_NE(nullptr, getcwd(before, sizeof before));
    ASSERT_EQ(0, chdir(root().c_str()));
    makeFolders(inRoot("/below"));
    const ScopedVariable variable("PLATFORM_ROOT", "below/");
    EXPECT_EQ(root() + "/below", rootFolder());
    EXPECT_EQ(root() + "/below/A.app", intoRoot("/A.app"));
    ASSERT_EQ(0, chdir(before));
}

TEST_F(PlatformRoot, OneThatDoesNotExistHoldsNoBundle) {
    const std::string missing = inRoot("/missing");
    const ScopedVariable variable("PLATFORM_ROOT", (missing + "/").c_str());
    EXPECT_EQ(missing + "/A.app", intoRoot("/A.app"));
    FSRef reference;
    EXPECT_EQ(fnfErr, makeReference("/A.app", reference));
    EXPECT_TRUE(runningBundles().empty());
}

TEST_F(PlatformRoot, AnEmptyOneAndTheRealRootChangeNothing) {
    for (const char* value : {"", "/", "//"}) {
        const ScopedVariable variable("PLATFORM_ROOT", value);
        EXPECT_EQ("", rootFolder());
        EXPECT_EQ("/A.app", intoRoot("/A.app"));
        EXPECT_EQ("/A.app", outOfRoot("/A.app"));
    }
}

TEST_F(PlatformRoot, ALinkToItIsFollowed) {
    const std::string link = root() + "-link";
    ASSERT_EQ(0, symlink(root().c_str(), link.c_str()));
    const ScopedVariable variable("PLATFORM_ROOT", link.c_str());
    EXPECT_EQ(root(), rootFolder());
    EXPECT_EQ(root() + "/A.app", intoRoot("/A.app"));
    EXPECT_EQ(root() + "/A.app", intoRoot(link + "/A.app")) << "a path in the root, by the root's other name";
}
