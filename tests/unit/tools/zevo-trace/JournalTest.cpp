#include "Journal.h"

#include "TraceFiles.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

class JournalTest : public ::testing::Test {
protected:
    /// The last character of each line.
    static std::string shortened(const ReadJournal& journal) {
        std::string result;
        for (const std::string& line : journal.lines)
            result += line.empty() ? '.' : line.back();
        return result;
    }
    TraceFiles m_files;
};

} // namespace

TEST_F(JournalTest, MergesTraceAndLogOnTime) {
    m_files.write("trace_0.txt",
                  traceLine("10:00:00-000", "a") + traceLine("10:00:00-002", "b") +
                      traceLine("10:00:00-005", "c"),
                  at(10, 0, 0.3));
    m_files.write("logger_0.txt",
                  "[10:00:00-001][LEVEL_0] 1\n[10:00:00-002][LEVEL_0] 2\n[10:00:00-009][LEVEL_0] 3\n",
                  at(10, 0, 0.3));
    const ReadJournal journal({m_files.path()});
    EXPECT_EQ(shortened(journal), "a1b2c3") << "of two with the same time the trace's comes first";
    EXPECT_THAT(journal.runs, ElementsAre(1, 1, 1, 1, 1, 1));
    EXPECT_THAT(journal.notes, IsEmpty());
}

TEST_F(JournalTest, AcrossMidnight) {
    m_files.write("trace_0.txt", traceLine("23:59:59-999", "a") + traceLine("00:00:00-500", "b"),
                  at(0, 0, 0.6));
    m_files.write("logger_0.txt", "[23:59:59-000][LEVEL_0] 1\n[00:00:00-200][LEVEL_0] 2\n", at(0, 0, 0.6));
    EXPECT_EQ(shortened(ReadJournal({m_files.path()})), "1a2b");
}

TEST_F(JournalTest, LinesWithoutATimeStayBehindTheirLine) {
    m_files.write("trace_0.txt",
                  traceLine("10:00:00-000", ">> [D] a") + "b\n" + traceLine("10:00:00-002", "c"),
                  at(10, 0, 0.3));
    m_files.write("logger_0.txt", "[10:00:00-001][LEVEL_0] 1\n", at(10, 0, 0.3));
    EXPECT_EQ(shortened(ReadJournal({m_files.path()})), "ab1c");
}

TEST_F(JournalTest, ATraceWithoutTimesIsNotMerged) {
    m_files.write("trace_0.txt", "[th_7    ][MAIN           ]a\n", at(10, 0, 0.3));
    m_files.write("logger_0.txt", "[10:00:00-001][LEVEL_0] 1\n", at(10, 0, 0.3));
    const ReadJournal journal({m_files.path()});
    EXPECT_EQ(shortened(journal), "a1");
    EXPECT_THAT(journal.notes, ElementsAre(HasSubstr("cannot be merged on time")));
}

TEST_F(JournalTest, CountsTheRunsOfTheTraceAndTheLogBelongsToThem) {
    m_files.write("trace_1.txt", traceLine("10:00:00-000", "a"), at(10, 0, 0.3));
    m_files.write("trace_0.txt", traceLine("11:00:00-000", "b", 8), at(11, 0, 0.3));
    m_files.write("logger_0.txt",
                  "[09:00:00-000][LEVEL_0] 0\n[10:00:00-001][LEVEL_0] 1\n[11:00:00-001][LEVEL_0] 2\n",
                  at(11, 0, 0.3));
    const ReadJournal journal({m_files.path()});
    EXPECT_EQ(shortened(journal), "0a1b2");
    EXPECT_THAT(journal.runs, ElementsAre(0, 1, 1, 2, 2));
}

TEST_F(JournalTest, ALogAloneCountsItsBanners) {
    m_files.write(
        "logger_0.txt",
        "[09:00:00-000][LEVEL_0] Starting Vurl ZevoLauncher with ID card :\n[09:00:00-001][LEVEL_0] 1\n"
        "[10:00:00-001][LEVEL_0] Starting Vurl ZevoLauncher with ID card :\n",
        at(10, 0, 0.3));
    EXPECT_THAT(ReadJournal({m_files.path()}).runs, ElementsAre(1, 1, 2));
}

TEST_F(JournalTest, FilesThatWerePutTogetherAreToldApartByTheirMainThread) {
    const std::string path =
        m_files.write("together.txt",
                      traceLine("10:00:00-000", "a", 7) + traceLine("10:00:00-001", "b", 9, "Other") +
                          traceLine("10:00:00-002", "c", 7) + traceLine("11:00:00-000", "d", 8),
                      at(11, 0, 0.2));
    EXPECT_THAT(ReadJournal({path}).runs, ElementsAre(1, 1, 1, 2));
}

TEST_F(JournalTest, TornAndCutLinesAreToldAndStay) {
    m_files.write("trace_0.txt",
                  traceLine("10:00:00-000", "a") + "????\n" + traceLine("10:00:00-001", "b") +
                      "[10:00:00-002][th_7  ",
                  at(10, 0, 0.3));
    const ReadJournal journal({m_files.path()});
    EXPECT_EQ(shortened(journal), "a?b ");
    EXPECT_THAT(journal.damages,
                ElementsAre((m_files / "trace_0.txt") + ":2: the line is torn, or belongs to something else",
                            (m_files / "trace_0.txt") + ":4: the line is cut: the file ends in it"));
}

TEST_F(JournalTest, TellsWhereItsLastWholeLinesEnd) {
    const std::string first = traceLine("10:00:00-000", "a"), second = traceLine("10:01:00-000", "b");
    m_files.write("trace_0.txt", first, at(10, 0, 0.3));
    m_files.write("trace_1.txt", second + "[10:0", at(10, 1, 0.3));
    std::vector<std::string> notes;
    Zevo::Journal journal(Zevo::findRings({m_files.path()}, notes), notes);
    for (Zevo::JournalLine line; journal.next(line);) {
    }
    ASSERT_THAT(journal.ends(), SizeIs(1));
    EXPECT_EQ(journal.ends()[0].path, m_files / "trace_1.txt");
    EXPECT_EQ(journal.ends()[0].position, second.size());
}

TEST_F(JournalTest, ManyTornLinesAreCountedNotListed) {
    std::string text = traceLine("10:00:00-000", "a");
    for (int i = 0; i < 1000; ++i)
        text += "???\n";
    m_files.write("trace_0.txt", text, at(10, 0, 0.3));
    EXPECT_THAT(ReadJournal({m_files.path()}).damages, SizeIs(5));
}
