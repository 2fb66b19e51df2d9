#include "FileSystemManagement.h"

#include "MAC/AutoreleaseScope.h"

#include <gtest/gtest.h>

TEST(UserDesktopFolderMacTest, IsTheFirstDesktopFolderThatFoundationNames) {
    const AutoreleaseScope pool;
    NSArray* folders = NSSearchPathForDirectoriesInDomains(NSDesktopDirectory, NSUserDomainMask, YES);
    ASSERT_LE(1u, [folders count]);
    EXPECT_STREQ([[folders objectAtIndex:0] UTF8String],
                 FileSystemManagement::getUserDesktopFolder().c_str());
}

TEST(UserDesktopFolderMacTest, IsAnAbsolutePathWithoutASeparatorAtItsEnd) {
    const std::string folder = FileSystemManagement::getUserDesktopFolder();
    ASSERT_LT(1u, folder.size());
    EXPECT_EQ(folder.front(), '/');
    EXPECT_NE('/', folder.back());
}
