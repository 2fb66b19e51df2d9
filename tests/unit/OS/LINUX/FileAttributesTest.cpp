#include "detail/FileReplacement.h"

#include "OtherProcess.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Trees.h"
#include "WrappedCalls.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

using namespace kf::detail;

// Metadata of a file that a replacement must keep.

namespace {

class FileAttributesTest : public testing::Test {
protected:
    FileAttributesTest() {
        WrappedCalls::reset();
        writeFile(m_file, "old");
    }
    ~FileAttributesTest() override { WrappedCalls::reset(); }

    static std::string attribute(const std::string& path, const char* name) {
        char value[256];
        const ssize_t size = getxattr(path.c_str(), name, value, sizeof value);
        return size < 0 ? "(none)" : std::string(value, static_cast<size_t>(size));
    }
    static bool set(const std::string& path, const char* name, const std::string& value) {
        return setxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
    }
    /// The kernel's form of an access list: the owner reads and writes, the group has no right, user 4242
    /// reads and writes, the mask allows that, others have none.
    static std::string accessList() {
        std::string list("\2\0\0\0", 4);
        const struct {
            unsigned char tag, rights;
            unsigned id;
        } entries[] = {{1, 6, ~0u}, {2, 6, 4242}, {4, 0, ~0u}, {16, 6, ~0u}, {32, 0, ~0u}};
        for (const auto& entry : entries) {
            list += {static_cast<char>(entry.tag), 0, static_cast<char>(entry.rights), 0};
            for (int i = 0; i < 4; ++i)
                list += static_cast<char>(entry.id >> 8 * i & 0xFF);
        }
        return list;
    }
    static constexpr const char* ACCESS_LIST = "system.posix_acl_access";

    TemporaryFolder m_folder;
    std::string m_file = m_folder / "parameters.dat";
};

// If the test's file system has no such attributes, there is nothing to keep.
TEST_F(FileAttributesTest, ExtendedAttributesAreKept) {
    const bool hasAny = set(m_file, "user.note", std::string("a\0b", 3));
    const bool hasEmpty = set(m_file, "user.empty", "");
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ(readFile(m_file), "new");
    EXPECT_EQ(attribute(m_file, "user.note"), hasAny ? std::string("a\0b", 3) : "(none)");
    EXPECT_EQ(attribute(m_file, "user.empty"), hasEmpty ? "" : "(none)");
}

TEST_F(FileAttributesTest, TheAccessListIsKeptAndAgreesWithTheMode) {
    const bool hasList = set(m_file, ACCESS_LIST, accessList());
    const mode_t mode = modeOf(m_file);
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ(modeOf(m_file), mode);
    EXPECT_EQ(attribute(m_file, ACCESS_LIST), hasList ? accessList() : "(none)");
}

TEST_F(FileAttributesTest, WithoutItsAccessListTheFileGivesTheGroupNothing) {
    chmod(m_file.c_str(), 0660);
    const bool hasList = set(m_file, ACCESS_LIST, accessList());
    WrappedCalls::get().accessListError = EPERM;
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ(modeOf(m_file), hasList ? 0600u : 0660u);
}

TEST_F(FileAttributesTest, AFileWithoutAnAccessListDoesNotGetTheFolders) {
    set(m_folder.path(), "system.posix_acl_default", accessList());
    EXPECT_TRUE(FileReplacement::replace(m_file, "new"));
    EXPECT_EQ(attribute(m_file, ACCESS_LIST), "(none)");
}

TEST_F(FileAttributesTest, AreKeptOfAFileThatMayOnlyBeWritten) {
    const bool hasList = set(m_file, ACCESS_LIST, accessList());
    chmod(m_file.c_str(), 0220);
    const std::string list = attribute(m_file, ACCESS_LIST);
    EXPECT_TRUE(boundByFileModes([this] { return FileReplacement::replace(m_file, "new"); }));
    EXPECT_EQ(attribute(m_file, ACCESS_LIST), hasList ? list : "(none)");
    EXPECT_EQ(modeOf(m_file), 0220u);
}

} // namespace
