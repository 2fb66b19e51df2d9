#include "detail/LineCursor.h"

#include "TemporaryFolder.h"
#include "TextFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

using namespace kf::detail;

TEST(LineCursor, HandsOutLinesWithoutTheirLineFeeds) {
    LineCursor lines("a\n\nb\r\nc");
    EXPECT_EQ(lines.next(), "a");
    EXPECT_EQ(lines.next(), "");
    EXPECT_EQ(lines.next(), "b\r");
    EXPECT_EQ(lines.next(), "c");
    EXPECT_EQ(lines.getPosition(), 7u);
}

TEST(LineCursor, BehindTheEndThereAreOnlyEmptyLines) {
    LineCursor lines("a\n");
    EXPECT_EQ(lines.next(), "a");
    EXPECT_EQ(lines.next(), "");
    EXPECT_EQ(lines.next(), "");
    EXPECT_EQ(lines.getPosition(), 2u);
    EXPECT_EQ(LineCursor("").next(), "");
}

TEST(LineCursor, HandsOutTheRestAsOneText) {
    LineCursor lines("a\nb\nc");
    EXPECT_EQ(lines.next(), "a");
    EXPECT_EQ(lines.takeRest(), "b\nc");
    EXPECT_EQ(lines.next(), "");
    EXPECT_EQ(lines.takeRest(), "");
}

class LineCursorInAFile : public testing::Test {
protected:
    LineCursor linesOf(const std::string& bytes) const {
        writeFile(m_folder / "text", bytes);
        return LineCursor(FileDescriptor(open((m_folder / "text").c_str(), O_RDONLY | O_CLOEXEC)));
    }

private:
    TemporaryFolder m_folder;
};

TEST_F(LineCursorInAFile, HandsOutTheSameLines) {
    LineCursor lines = linesOf("a\n\nb\r\nc");
    for (const char* const line : {"a", "", "b\r", "c", "", ""})
        EXPECT_EQ(lines.next(), line);
    EXPECT_EQ(lines.getPosition(), 7u);
    EXPECT_TRUE(lines.finish());
}

TEST_F(LineCursorInAFile, HandsOutTheSameRestUpToTheFirstZeroByte) {
    const std::string rest(100000, 'x');
    LineCursor lines = linesOf("a\n" + rest + '\0' + "behind");
    EXPECT_EQ(lines.next(), "a");
    EXPECT_TRUE(lines.takeRest() == rest);
    EXPECT_TRUE(lines.finish());
}

TEST_F(LineCursorInAFile, JoinsLinesThatItReadInPieces) {
    std::string bytes;
    for (int i = 0; i < 50000; ++i)
        bytes += std::to_string(i) + "\n";
    LineCursor lines = linesOf(bytes);
    for (int i = 0; i < 50000; ++i)
        ASSERT_EQ(lines.next(), std::to_string(i));
    EXPECT_EQ(lines.next(), "");
    EXPECT_EQ(lines.getPosition(), bytes.size());
}

TEST_F(LineCursorInAFile, TakesTheOneByteThatALaterPieceHolds) {
    const std::string piece(32768, 'x'); // the size of one read
    LineCursor line = linesOf(piece + "\n");
    EXPECT_EQ(line.next(), piece);
    EXPECT_EQ(line.getPosition(), piece.size() + 1);
    EXPECT_EQ(linesOf(piece + "y").takeRest(), piece + "y");
    EXPECT_EQ(linesOf("y").takeRest(), "y");
}

TEST_F(LineCursorInAFile, TakesALineOfAnyLength) {
    const std::string large(1000000, 'x');
    LineCursor lines = linesOf("a\n" + large + "\nb");
    EXPECT_EQ(lines.next(), "a");
    EXPECT_EQ(lines.next(), large);
    EXPECT_EQ(lines.next(), "b");
}

TEST_F(LineCursorInAFile, EndsAtTheFirstZeroByte) {
    LineCursor lines = linesOf(std::string("a\nb\0c\nd\n", 9));
    EXPECT_EQ(lines.next(), "a");
    EXPECT_EQ(lines.next(), "b");
    EXPECT_EQ(lines.next(), "");
    EXPECT_TRUE(lines.finish());
}

TEST_F(LineCursorInAFile, EndsAtAZeroByteInItsFirstPiece) {
    LineCursor lines = linesOf(std::string("ab\0c", 4));
    EXPECT_EQ(lines.next(), "ab");
    EXPECT_EQ(lines.next(), "");
    EXPECT_TRUE(lines.finish());
}

TEST_F(LineCursorInAFile, EndsAtAZeroByteInALaterPieceOfALine) {
    const std::string beginning(70000, 'x'); // more than one read
    LineCursor lines = linesOf(beginning + std::string(1, '\0') + "y\n");
    EXPECT_EQ(lines.next(), beginning);
    EXPECT_EQ(lines.next(), "");
    EXPECT_TRUE(lines.finish());
}

TEST_F(LineCursorInAFile, PassesOverTheRest) {
    LineCursor lines = linesOf("a\nb\n" + std::string(1000000, 'x'));
    EXPECT_EQ(lines.next(), "a");
    EXPECT_TRUE(lines.finish());
    EXPECT_EQ(lines.next(), "");
}

TEST(LineCursor, TellsThatAFileFailed) {
    EXPECT_FALSE(LineCursor(FileDescriptor()).finish());
    // A non-blocking pipe whose writer is still open fails after its content.
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    LineCursor lines{FileDescriptor(ends[0])};
    const FileDescriptor writer(ends[1]);
    ASSERT_EQ(fcntl(ends[0], F_SETFL, O_NONBLOCK), 0);
    ASSERT_EQ(write(writer.get(), "a\nb", 3), 3);
    EXPECT_EQ(lines.next(), "a");
    EXPECT_EQ(lines.next(), "b");
    EXPECT_FALSE(lines.finish());
}
