#include "NewFile.h"

#include "TemporaryFolder.h"
#include "Tool.h"

#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

using ::testing::HasSubstr;
using Zevo::NewFile;

namespace {

class NewFileTest : public ::testing::Test {
protected:
    std::string text() const {
        std::ifstream file(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    bool isThere() const { return access(m_path.c_str(), F_OK) == 0; }
    TemporaryFolder m_folder;
    std::string m_path = m_folder / "result";
};

} // namespace

TEST_F(NewFileTest, IsKeptWithWhatWasWrittenForItsOwnerAlone) {
    NewFile file(m_path);
    file.write("one, ");
    file.write("two");
    file.keep();
    EXPECT_EQ("one, two", text());
    struct stat status = {};
    ASSERT_EQ(0, stat(m_path.c_str(), &status));
    EXPECT_EQ(0600u, status.st_mode & 0777U);
}

TEST_F(NewFileTest, WhatDidNotBecomeWholeIsRemoved) {
    {
        NewFile file(m_path);
        file.write("half");
        EXPECT_TRUE(isThere());
    }
    EXPECT_FALSE(isThere());
}

TEST_F(NewFileTest, NobodysFileIsWrittenOver) {
    std::ofstream(m_path) << "mine";
    EXPECT_THROW(NewFile file(m_path), Zevo::UsageError);
    EXPECT_EQ("mine", text());
}

TEST_F(NewFileTest, AFolderThatIsNotThereIsTold) {
    try {
        NewFile file(m_path + "/in/it");
        FAIL();
    } catch (const std::runtime_error& problem) {
        EXPECT_EQ(m_path + "/in/it cannot be written: No such file or directory",
                  std::string(problem.what()));
    }
}

TEST_F(NewFileTest, AFullDiskIsTold) {
    NewFile file(m_path);
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_LE(0, full);
    ASSERT_LE(0, dup2(full, file.descriptor()));
    close(full);
    try {
        file.write("something");
        FAIL();
    } catch (const std::runtime_error& problem) {
        EXPECT_THAT(problem.what(), HasSubstr("result cannot be written: No space left"));
    }
}
