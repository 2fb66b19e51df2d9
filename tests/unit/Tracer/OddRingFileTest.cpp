#include "TemporaryFolder.h"
#include "TextFile.h"
#include "detail/FileRing.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace kf::detail;

// Things that may exist under the name of a ring's file and must not be written into.

namespace {

class OddRingFile : public testing::Test {
protected:
    OddRingFile() {
        m_ring.setBaseName(m_folder / "trace");
        m_ring.beginAnew();
        m_ring.put("line\n");
    }
    /// Drains once; returns what that writes on standard error.
    std::string drain(FileRing::Drain expected) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(m_ring.drain(), expected);
        return testing::internal::GetCapturedStderr();
    }
    /// Expects that the file is refused with a message, then refused again silently, and that no line is
    /// lost: when the obstacle is removed, the line is written.
    void expectRefused() {
        EXPECT_EQ(drain(FileRing::Drain::CannotOpen), "Ring : can't open " + m_path + "\n");
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(drain(FileRing::Drain::CannotOpen), "");
        ASSERT_EQ(unlink(m_path.c_str()), 0);
        expectWritten();
    }
    void expectWritten() {
        EXPECT_EQ(drain(FileRing::Drain::Done), "");
        EXPECT_EQ(readFile(m_path), "line\n");
    }
    void letOthersWriteTheFolder() { ASSERT_EQ(chmod(m_folder.path().c_str(), 0777), 0); }

    TemporaryFolder m_folder;
    std::string m_path = m_folder / "trace_0.txt";
    std::string m_valuable = m_folder / "valuable";
    EventCount m_work;
    FileRing m_ring{"Ring", true, m_work};
};

} // namespace

TEST_F(OddRingFile, APipeThatNobodyReadsIsRefused) {
    ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
    expectRefused();
}

TEST_F(OddRingFile, APipeWithAReaderIsRefused) {
    ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
    const FileDescriptor reader(open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    expectRefused();
    char text[8];
    EXPECT_EQ(read(reader.get(), text, sizeof text), 0);
}

TEST_F(OddRingFile, ADeviceIsRefused) {
    ASSERT_EQ(symlink("/dev/null", m_path.c_str()), 0);
    expectRefused();
}

TEST_F(OddRingFile, ATerminalIsRefused) {
    const FileDescriptor terminal(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_TRUE(terminal.isOpen());
    ASSERT_EQ(grantpt(terminal.get()), 0);
    ASSERT_EQ(unlockpt(terminal.get()), 0);
    ASSERT_EQ(symlink(ptsname(terminal.get()), m_path.c_str()), 0);
    expectRefused();
}

TEST_F(OddRingFile, ASocketIsRefused) {
    const FileDescriptor listener(socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    m_path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    expectRefused();
}

TEST_F(OddRingFile, AnOddFileHasNoLinesToCount) {
    ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
    m_ring.continueFile(0);
    EXPECT_EQ(m_ring.getLineCount(), 0);
}

TEST_F(OddRingFile, ALinkIsFollowedWhereOnlyThisUserCanHavePutIt) {
    writeFile(m_valuable, "old\n");
    ASSERT_EQ(symlink(m_valuable.c_str(), m_path.c_str()), 0);
    expectWritten();
    EXPECT_EQ(readFile(m_valuable), "line\n");
}

TEST_F(OddRingFile, ALinkIsNotFollowedWhereOthersCanHavePutIt) {
    letOthersWriteTheFolder();
    writeFile(m_valuable, "old\n");
    ASSERT_EQ(symlink(m_valuable.c_str(), m_path.c_str()), 0);
    expectRefused();
    EXPECT_EQ(readFile(m_valuable), "old\n");
}

TEST_F(OddRingFile, ALinkToNothingMakesNoFileWhereOthersCanHavePutIt) {
    letOthersWriteTheFolder();
    ASSERT_EQ(symlink(m_valuable.c_str(), m_path.c_str()), 0);
    expectRefused();
    EXPECT_NE(access(m_valuable.c_str(), F_OK), 0);
}

TEST_F(OddRingFile, ASecondNameOfAFileIsRefusedWhereOthersCanHaveGivenIt) {
    letOthersWriteTheFolder();
    writeFile(m_valuable, "old\n");
    ASSERT_EQ(link(m_valuable.c_str(), m_path.c_str()), 0);
    expectRefused();
    EXPECT_EQ(readFile(m_valuable), "old\n");
}

TEST_F(OddRingFile, AFileOfAnotherUserIsRefusedWhereOthersMayWrite) {
    writeFile(m_path, "old\n");
    if (geteuid() != 0) { // only the superuser can give a file away
        expectWritten();
        return;
    }
    const uid_t nobody = 65534;
    ASSERT_EQ(chown(m_path.c_str(), nobody, static_cast<gid_t>(-1)), 0);
    letOthersWriteTheFolder();
    expectRefused();
}

TEST_F(OddRingFile, AFileOfItsOwnIsOpenedWhereOthersMayWrite) {
    letOthersWriteTheFolder();
    expectWritten();
    m_ring.put("more\n");
    EXPECT_EQ(drain(FileRing::Drain::Done), "");
    EXPECT_EQ(readFile(m_path), "line\nmore\n");
}

TEST_F(OddRingFile, WhatIsRefusedAgainLaterIsToldAgain) {
    letOthersWriteTheFolder();
    ASSERT_EQ(symlink(m_valuable.c_str(), m_path.c_str()), 0);
    expectRefused();
    ASSERT_EQ(unlink(m_path.c_str()), 0);
    ASSERT_EQ(symlink(m_valuable.c_str(), m_path.c_str()), 0);
    m_ring.put("line\n");
    expectRefused();
}
