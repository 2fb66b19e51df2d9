#include "FileDescriptor.h"

#include "TemporaryFolder.h"

#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

TEST(FileDescriptorErrors, TellWhereNoNewFileCanBeMade) {
    for (const int error : {EPERM, EACCES, EROFS, EBUSY, ELOOP, ENAMETOOLONG, EINVAL, ENOTSUP, EOPNOTSUPP,
                            ENOSYS, ENOLCK, EEXIST}) {
        EXPECT_TRUE(forbidsNewFile(error)) << error;
    }
}

TEST(FileDescriptorErrors, WhatMayBeGoneForTheNextUserForbidsNoNewFile) {
    for (const int error : {ENOSPC, EDQUOT, EMFILE, ENFILE, EIO, ENOENT, EISDIR, EFBIG}) {
        EXPECT_FALSE(forbidsNewFile(error)) << error;
        EXPECT_FALSE(isUnsupported(error)) << error;
    }
}

class WholeFiles : public testing::Test {
protected:
    std::string path(const std::string& name) const { return m_folder.path() + "/" + name; }
    std::string write(const std::string& content) const {
        std::ofstream(path("file")) << content;
        return path("file");
    }

    TemporaryFolder m_folder;
    std::string m_content = "before";
};

TEST_F(WholeFiles, AreReadToTheirEnd) {
    for (const std::string& text : {std::string(), std::string("text\n"), std::string(100000, 'x')}) {
        EXPECT_TRUE(readWhole(openRegularFile(write(text)).get(), 100000, m_content));
        EXPECT_EQ(text, m_content);
    }
}

TEST_F(WholeFiles, OfMoreThanTheLimitAreNotRead) {
    EXPECT_FALSE(readWhole(openRegularFile(write("12345")).get(), 4, m_content));
    EXPECT_EQ(EFBIG, errno);
    EXPECT_EQ("", m_content);
}

TEST_F(WholeFiles, ThatAreNoneAreRefusedWithoutAWait) {
    ASSERT_EQ(0, mkfifo(path("pipe").c_str(), 0600));
    for (const std::string& other : {path("pipe"), m_folder.path(), std::string("/dev/zero")}) {
        errno = 0;
        EXPECT_FALSE(openRegularFile(other).isOpen()) << other;
        EXPECT_EQ(EINVAL, errno) << other;
    }
    EXPECT_FALSE(openRegularFile(path("missing")).isOpen());
    EXPECT_EQ(ENOENT, errno);
}

TEST_F(WholeFiles, ThatCannotBeReadSaySo) {
    EXPECT_FALSE(readWhole(-1, 100, m_content));
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ("", m_content);
    const FileDescriptor writeOnly(open(write("text").c_str(), O_WRONLY | O_CLOEXEC));
    EXPECT_FALSE(readWhole(writeOnly.get(), 100, m_content));
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ("", m_content);
}
