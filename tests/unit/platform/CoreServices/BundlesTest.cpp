#include "BundleTest.h"

#include "CoreServices/Bundles.h"

#include <unistd.h>

using namespace LinuxPlatform;

TEST(Bundles, TheInnermostBundleCounts) {
    EXPECT_EQ(innermostBundle("/Applications/Quillmarsh.app/Contents/MacOS/Murmel.app/Contents/MacOS/Murmel"),
              "/Applications/Quillmarsh.app/Contents/MacOS/Murmel.app");
    EXPECT_EQ(innermostBundle("/Applications/Quillmarsh.app/Contents/MacOS/Quillmarsh"),
              "/Applications/Quillmarsh.app");
}

TEST(Bundles, OnlyWholeComponentsNameABundle) {
    EXPECT_EQ(innermostBundle("/opt/a.application/x"), "");
    EXPECT_EQ(innermostBundle("/opt/a.app.old/x"), "");
    EXPECT_EQ(innermostBundle("/opt/.app/x"), "");
    EXPECT_EQ(innermostBundle("/opt/app/x"), "");
    EXPECT_EQ(innermostBundle("/opt/x"), "");
    EXPECT_EQ(innermostBundle(""), "");
    EXPECT_EQ(innermostBundle("/a.app/x"), "/a.app");
    EXPECT_EQ(innermostBundle("/opt/with blank.app/x"), "/opt/with blank.app");
}

TEST(Bundles, AFileNamedLikeABundleIsInNone) {
    EXPECT_EQ(innermostBundle("/opt/tool.app"), "");
}

class PlatformRoot : public BundleTest {};

TEST_F(PlatformRoot, MovesBundlePathsOnly) {
    EXPECT_EQ(intoRoot("/Applications/A.app"), root() + "/Applications/A.app");
    EXPECT_EQ(intoRoot("/Applications/A.app/"), root() + "/Applications/A.app/");
    EXPECT_EQ(intoRoot("/A.app/Contents/Info.plist"), root() + "/A.app/Contents/Info.plist");
    EXPECT_EQ(intoRoot("/etc/passwd"), "/etc/passwd");
    EXPECT_EQ(intoRoot("Applications/A.app"), "Applications/A.app");
}

TEST_F(PlatformRoot, APathInTheRootIsTakenAsItIs) {
    EXPECT_EQ(intoRoot(root() + "/Applications/A.app"), root() + "/Applications/A.app");
}

TEST_F(PlatformRoot, ANeighbourWithALongerNameIsNotInTheRoot) {
    EXPECT_EQ(intoRoot(root() + "2/A.app"), root() + root() + "2/A.app");
    EXPECT_EQ(outOfRoot(root() + "2/A.app"), "");
}

TEST_F(PlatformRoot, TrailingSeparatorsAreIgnored) {
    const ScopedVariable variable("PLATFORM_ROOT", (root() + "//").c_str());
    EXPECT_EQ(rootFolder(), root());
}

TEST_F(PlatformRoot, ARelativeOneCountsFromTheCurrentFolder) {
    char before[4096];
    ASSERT_NE(nullptr, getcwd(before, sizeof before));
    ASSERT_EQ(chdir(root().c_str()), 0);
    makeFolders(inRoot("/below"));
    const ScopedVariable variable("PLATFORM_ROOT", "below/");
    EXPECT_EQ(rootFolder(), root() + "/below");
    EXPECT_EQ(intoRoot("/A.app"), root() + "/below/A.app");
    ASSERT_EQ(chdir(before), 0);
}

TEST_F(PlatformRoot, OneThatDoesNotExistHoldsNoBundle) {
    const std::string missing = inRoot("/missing");
    const ScopedVariable variable("PLATFORM_ROOT", (missing + "/").c_str());
    EXPECT_EQ(intoRoot("/A.app"), missing + "/A.app");
    FSRef reference;
    EXPECT_EQ(makeReference("/A.app", reference), fnfErr);
    EXPECT_TRUE(runningBundles().empty());
}

TEST_F(PlatformRoot, AnEmptyOneAndTheRealRootChangeNothing) {
    for (const char* value : {"", "/", "//"}) {
        const ScopedVariable variable("PLATFORM_ROOT", value);
        EXPECT_EQ(rootFolder(), "");
        EXPECT_EQ(intoRoot("/A.app"), "/A.app");
        EXPECT_EQ(outOfRoot("/A.app"), "/A.app");
    }
}

TEST_F(PlatformRoot, ALinkToItIsFollowed) {
    const std::string link = root() + "-link";
    ASSERT_EQ(symlink(root().c_str(), link.c_str()), 0);
    const ScopedVariable variable("PLATFORM_ROOT", link.c_str());
    EXPECT_EQ(rootFolder(), root());
    EXPECT_EQ(intoRoot("/A.app"), root() + "/A.app");
    EXPECT_EQ(intoRoot(link + "/A.app"), root() + "/A.app") << "a path in the root, by the root's other name";
}
