#include "NewFile.h"

#include "TemporaryFolder.h"
#include "Tool.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <sys/stat.h>
#include <sys/wait.h>
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
    /// The wait status of a child that gets the signal when it has written half of a file, or has kept the
    /// file.
    int endOfChild(
        int signal, void (*before)() = [] {}, bool isKept = false) const {
        const pid_t child = fork();
        if (child == 0) {
            before();
            NewFile file(m_path);
            file.write("half");
            if (isKept)
                file.keep();
            raise(signal);
            file.write(", whole");
            file.keep();
            _exit(0);
        }
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return status;
    }
    TemporaryFolder m_folder;
    std::string m_path = m_folder / "result";
};

} // namespace

TEST_F(NewFileTest, IsKeptWithWhatWasWrittenForItsOwnerAlone) {
    NewFile file(m_path);
    file.write("one, ");
    file.write("two");
    file.keep();
    EXPECT_EQ(text(), "one, two");
    struct stat status = {};
    ASSERT_EQ(stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600u);
}

TEST_F(NewFileTest, WhatDidNotBecomeWholeIsRemoved) {
    {
        NewFile file(m_path);
        file.write("half");
        EXPECT_TRUE(isThere());
    }
    EXPECT_FALSE(isThere());
}

TEST_F(NewFileTest, AlsoWhenCtrlCEndsTheProgram) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const int status = endOfChild(signal);
        EXPECT_TRUE(WIFSIGNALED(status)) << status;
        EXPECT_EQ(WTERMSIG(status), signal);
        EXPECT_FALSE(isThere());
    }
}

TEST_F(NewFileTest, ASignalThatIsIgnoredChangesNothing) {
    EXPECT_EQ(endOfChild(SIGHUP, [] { std::signal(SIGHUP, SIG_IGN); }), 0);
    EXPECT_EQ(text(), "half, whole");
}

TEST_F(NewFileTest, AFileOfWhichTheSystemHasLostSomethingIsNotKept) {
    {
        NewFile file(m_path);
        file.write("something");
        close(file.descriptor());
        EXPECT_THROW(file.keep(), std::runtime_error);
    }
    EXPECT_FALSE(isThere());
}

TEST_F(NewFileTest, WhatWasKeptStays) {
    EXPECT_EQ(WTERMSIG(endOfChild(
                  SIGINT, [] {}, true)),
              SIGINT);
    EXPECT_EQ(text(), "half");
}

TEST_F(NewFileTest, NobodysFileIsWrittenOver) {
    std::ofstream(m_path) << "mine";
    EXPECT_THROW(NewFile file(m_path), Zevo::UsageError);
    EXPECT_EQ(text(), "mine");
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
