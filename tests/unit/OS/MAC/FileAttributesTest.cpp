#include "detail/FileReplacement.h"

#include "TemporaryFolder.h"
#include "TextFile.h"

#include <gtest/gtest.h>
#include <sys/xattr.h>

using namespace kf::detail;

// Metadata of a file that a replacement must keep.

TEST(FileAttributesTest, ExtendedAttributesAreKept) {
    const TemporaryFolder folder;
    const std::string file = folder / "parameters.dat";
    const std::string note("a\0b", 3);
    writeFile(file, "old");
    ASSERT_EQ(setxattr(file.c_str(), "note", note.data(), note.size(), 0, 0), 0);
    EXPECT_TRUE(FileReplacement::replace(file, "new"));
    EXPECT_EQ(readFile(file), "new");
    char value[8] = {};
    ASSERT_EQ(getxattr(file.c_str(), "note", value, sizeof value, 0, 0), 3);
    EXPECT_EQ(note, std::string(value, 3));
}
