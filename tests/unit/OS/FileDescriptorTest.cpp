#include "detail/FileDescriptor.h"

#include "TemporaryFolder.h"
#include "WrappedCalls.h"

#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kf::detail;

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

// A pipe tells no size either, like a file that grows between the question and the reading.
TEST_F(WholeFiles, ThatGrowMeanwhileAreReadUpToTheLimit) {
    for (const std::size_t size : {0u, 1u, 2u, 3u, 4u, 99u, 100u, 101u, 200u}) {
        int ends[2];
        ASSERT_EQ(0, pipe(ends));
        const FileDescriptor reader(ends[0]);
        const std::string text(size, 'x');
        ASSERT_EQ(size, writeFully(ends[1], text));
        close(ends[1]);
        const bool fits = size <= 100;
        EXPECT_EQ(fits, readWhole(reader.get(), 100, m_content)) << size;
        EXPECT_EQ(fits ? 0 : EFBIG, errno) << size;
        EXPECT_EQ(fits ? text : "", m_content) << size;
    }
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

class TransfersTest : public WholeFiles {
protected:
    TransfersTest() { WrappedCalls::reset(); }
    ~TransfersTest() override { WrappedCalls::reset(); }

    FileDescriptor openFile(int flags) const {
        return FileDescriptor(open(path("file").c_str(), flags | O_CREAT | O_CLOEXEC, 0600));
    }
};

TEST_F(TransfersTest, GoOnAfterASignal) {
    WrappedCalls::get().interruptions = 3;
    EXPECT_EQ(6u, writeFully(openFile(O_WRONLY).get(), "abcdef"));
    EXPECT_EQ(0, WrappedCalls::get().interruptions);
    WrappedCalls::get().interruptions = 3;
    char bytes[7] = "";
    EXPECT_EQ(6u, readFully(openFile(O_RDONLY).get(), bytes, 6));
    EXPECT_EQ(0, errno);
    EXPECT_EQ(0, WrappedCalls::get().interruptions);
    EXPECT_STREQ("abcdef", bytes);
}

TEST_F(TransfersTest, AreWholeInWhateverPiecesTheyCome) {
    for (const std::size_t most : {1u, 2u, 5u}) {
        WrappedCalls::get().mostBytes = most;
        EXPECT_EQ(6u, writeFully(openFile(O_WRONLY | O_TRUNC).get(), "abcdef"));
        char bytes[8] = "";
        EXPECT_EQ(6u, readFully(openFile(O_RDONLY).get(), bytes, 7));
        EXPECT_EQ(0, errno) << "the file has ended";
        EXPECT_STREQ("abcdef", bytes);
    }
}

TEST_F(TransfersTest, ThatFailInTheMiddleTellHowFarTheyCameAndWhy) {
    WrappedCalls::get().mostBytes = 2;
    WrappedCalls::get().transfersBeforeError = 2;
    WrappedCalls::get().transferError = EIO;
    EXPECT_EQ(4u, writeFully(openFile(O_WRONLY).get(), "abcdef"));
    EXPECT_EQ(EIO, errno);
    WrappedCalls::get().transfersBeforeError = 1;
    char bytes[7] = "";
    EXPECT_EQ(2u, readFully(openFile(O_RDONLY).get(), bytes, 6));
    EXPECT_EQ(EIO, errno);
    EXPECT_STREQ("ab", bytes);
    WrappedCalls::get().transfersBeforeError = 1;
    EXPECT_FALSE(readWhole(openFile(O_RDONLY).get(), 100, m_content));
    EXPECT_EQ(EIO, errno);
    EXPECT_EQ("", m_content);
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
