#include "detail/SmallFile.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace kf::detail;

class SmallFileTest : public testing::Test {
protected:
    /// Reads the file: its content, or why it was refused.
    std::string reads(const std::string& path, std::int64_t limit = 10) {
        std::string content = "left over";
        std::string refusal;
        const bool isRead = SmallFile::read(path, limit, content, refusal);
        EXPECT_TRUE(isRead || content.empty());
        return isRead ? content : "refused: " + refusal;
    }

    TemporaryFolder m_folder;
    std::string m_file = m_folder / "file";
};

TEST_F(SmallFileTest, IsReadWholeUpToItsLimit) {
    for (const std::string content : {"", "1", "0123456789"}) {
        writeFile(m_file, content);
        EXPECT_EQ(reads(m_file), content);
    }
    const std::string content(50000, 'x');
    writeFile(m_file, content);
    EXPECT_TRUE(reads(m_file, 50000) == content);
}

TEST_F(SmallFileTest, OneByteMoreThanTheLimitIsRefused) {
    writeFile(m_file, "0123456789+");
    EXPECT_EQ(reads(m_file), "refused: it has 11 bytes, and may have 10");
}

TEST_F(SmallFileTest, WhatIsNoRegularFileIsRefused) {
    const std::string refused = "refused: it is no regular file";
    EXPECT_EQ(reads("/dev/zero"), refused);
    EXPECT_EQ(reads(m_folder.path()), refused);
    ASSERT_EQ(mkfifo(m_file.c_str(), 0600), 0);
    EXPECT_EQ(reads(m_file), refused);
}

TEST_F(SmallFileTest, WhatIsNotThereIsSaid) {
    EXPECT_EQ(reads(m_file), "refused: No such file or directory");
}
