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
                            ENOSYS, ENOLCK, EEXIST})
        EXPECT_TRUE(forbidsNewFile(error)) << error;
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
        EXPECT_EQ(m_content, text);
    }
}

TEST_F(WholeFiles, OfMoreThanTheLimitAreNotRead) {
    EXPECT_FALSE(readWhole(openRegularFile(write("12345")).get(), 4, m_content));
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(m_content, "");
}

// A pipe stands for a file that grows after its size was queried: its size is not known in advance either.
TEST_F(WholeFiles, ThatGrowMeanwhileAreReadUpToTheLimit) {
    for (const std::size_t size : {0u, 1u, 2u, 3u, 4u, 99u, 100u, 101u, 200u}) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const FileDescriptor reader(ends[0]);
        const std::string text(size, 'x');
        ASSERT_EQ(writeFully(ends[1], text), size);
        close(ends[1]);
        const bool fits = size <= 100;
        EXPECT_EQ(readWhole(reader.get(), 100, m_content), fits) << size;
        EXPECT_EQ(errno, fits ? 0 : EFBIG) << size;
        EXPECT_EQ(m_content, fits ? text : "") << size;
    }
}

TEST_F(WholeFiles, ThatAreNoneAreRefusedWithoutAWait) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    for (const std::string& other : {path("pipe"), m_folder.path(), std::string("/dev/zero")}) {
        errno = 0;
        EXPECT_FALSE(openRegularFile(other).isOpen()) << other;
        EXPECT_EQ(errno, EINVAL) << other;
    }
    EXPECT_FALSE(openRegularFile(path("missing")).isOpen());
    EXPECT_EQ(errno, ENOENT);
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
    EXPECT_EQ(writeFully(openFile(O_WRONLY).get(), "abcdef"), 6u);
    EXPECT_EQ(WrappedCalls::get().interruptions, 0);
    WrappedCalls::get().interruptions = 3;
    char bytes[7] = "";
    EXPECT_EQ(readFully(openFile(O_RDONLY).get(), bytes, 6), 6u);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(WrappedCalls::get().interruptions, 0);
    EXPECT_STREQ("abcdef", bytes);
}

TEST_F(TransfersTest, AreWholeInWhateverPiecesTheyCome) {
    for (const std::size_t most : {1u, 2u, 5u}) {
        WrappedCalls::get().mostBytes = most;
        EXPECT_EQ(writeFully(openFile(O_WRONLY | O_TRUNC).get(), "abcdef"), 6u);
        char bytes[8] = "";
        EXPECT_EQ(readFully(openFile(O_RDONLY).get(), bytes, 7), 6u);
        EXPECT_EQ(errno, 0) << "the file has ended";
        EXPECT_STREQ("abcdef", bytes);
    }
}

TEST_F(TransfersTest, ThatFailInTheMiddleTellHowFarTheyCameAndWhy) {
    WrappedCalls::get().mostBytes = 2;
    WrappedCalls::get().transfersBeforeError = 2;
    WrappedCalls::get().transferError = EIO;
    EXPECT_EQ(writeFully(openFile(O_WRONLY).get(), "abcdef"), 4u);
    EXPECT_EQ(errno, EIO);
    WrappedCalls::get().transfersBeforeError = 1;
    char bytes[7] = "";
    EXPECT_EQ(readFully(openFile(O_RDONLY).get(), bytes, 6), 2u);
    EXPECT_EQ(errno, EIO);
    EXPECT_STREQ("ab", bytes);
    WrappedCalls::get().transfersBeforeError = 1;
    EXPECT_FALSE(readWhole(openFile(O_RDONLY).get(), 100, m_content));
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(m_content, "");
}

TEST_F(WholeFiles, ThatCannotBeReadSaySo) {
    EXPECT_FALSE(readWhole(-1, 100, m_content));
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(m_content, "");
    const FileDescriptor writeOnly(open(write("text").c_str(), O_WRONLY | O_CLOEXEC));
    EXPECT_FALSE(readWhole(writeOnly.get(), 100, m_content));
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(m_content, "");
}
