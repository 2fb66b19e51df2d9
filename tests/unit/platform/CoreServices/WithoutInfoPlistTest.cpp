#include "BundleTest.h"

class WithoutInfoPlist : public BundleTest {};

// This build has no property-list library.
TEST_F(WithoutInfoPlist, TheBundlesOwnNameCounts) {
    addBundle("/A.app", "A", infoPlist("B"));
    addBundle("/A.app", "B");
    EXPECT_EQ(inRoot("/A.app/Contents/MacOS/A"), reportOf(openedProcess("/A.app"))["executable"]);
}
