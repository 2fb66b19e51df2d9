#include "LineReader.h"

#include "TraceFiles.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using Zevo::LineReader;

namespace {

class LineReaderTest : public ::testing::Test {
protected:
    std::string fileWith(const std::string& text) { return m_files.write("file", text, 0); }
    void append(const std::string& text) {
        std::ofstream(m_files / "file", std::ios::binary | std::ios::app) << text;
    }
    static std::vector<std::string> linesOf(LineReader& reader) {
        std::vector<std::string> result;
        for (std::string_view line; reader.next(line);)
            result.emplace_back(line);
        return result;
    }
    TraceFiles m_files;
};

} // namespace

TEST_F(LineReaderTest, HandsLinesOverWithoutTheirLineFeeds) {
    LineReader reader(fileWith("one\n\nthree\n"));
    EXPECT_THAT(linesOf(reader), ElementsAre("one", "", "three"));
    std::string_view rest;
    EXPECT_FALSE(reader.takeRest(rest));
    EXPECT_EQ(reader.position(), 11u);
}

TEST_F(LineReaderTest, KeepsALastLineWithoutItsEnd) {
    LineReader reader(fileWith("one\ntw"));
    EXPECT_THAT(linesOf(reader), ElementsAre("one"));
    std::string_view rest;
    ASSERT_TRUE(reader.takeRest(rest));
    EXPECT_EQ(rest, "tw");
    EXPECT_FALSE(reader.takeRest(rest));
}

TEST_F(LineReaderTest, SeesWhatIsWrittenLater) {
    LineReader reader(fileWith("one\ntw"));
    linesOf(reader);
    append("o\nthree\n");
    EXPECT_THAT(linesOf(reader), ElementsAre("two", "three"));
}

TEST_F(LineReaderTest, BeginsWhereItIsTold) {
    LineReader reader(fileWith("one\ntwo\nthr"), 4);
    EXPECT_THAT(linesOf(reader), ElementsAre("two"));
    EXPECT_EQ(reader.position(), 11u);
    EXPECT_EQ(reader.handedOver(), 8u);
}

TEST_F(LineReaderTest, LinesAcrossItsBufferAreWhole) {
    std::string text;
    std::vector<std::string> expected;
    for (int i = 0; i < 3000; ++i) {
        expected.push_back(std::to_string(i) + std::string(static_cast<std::size_t>(i), 'x'));
        text += expected.back() + "\n";
    }
    LineReader reader(fileWith(text));
    EXPECT_EQ(linesOf(reader), expected);
}

TEST_F(LineReaderTest, ALineWithoutEndTakesNoMoreMemory) {
    LineReader reader(fileWith(std::string(5 * LineReader::LONGEST_LINE + 7, 'x') + "\n"));
    const std::vector<std::string> lines = linesOf(reader);
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[4].size(), LineReader::LONGEST_LINE);
    EXPECT_EQ(lines[5].size(), 7u);
}

TEST_F(LineReaderTest, TellsWhatCannotBeRead) {
    try {
        LineReader reader(m_files / "none");
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(error.what(), (m_files / "none") + ": cannot be read: No such file or directory");
    }
    LineReader folder(m_files.path());
    std::string_view line;
    EXPECT_THROW(folder.next(line), std::runtime_error);
}
