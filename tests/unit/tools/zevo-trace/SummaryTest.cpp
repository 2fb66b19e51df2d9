#include "Summary.h"

#include "TraceFiles.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Zevo::CallTotals;

namespace {

class SummaryTest : public ::testing::Test {
protected:
    void read(const std::string& text) {
        m_files.write("trace_0.txt", text, at(10, 0, 1));
        readLines({m_files.path()}, [&](const Zevo::JournalLine& line) { m_summary.add(line); });
        m_summary.finish();
    }
    TraceFiles m_files;
    Zevo::Summary m_summary;
};

} // namespace

TEST_F(SummaryTest, AddsUpTotalAndOwnTime) {
    read(traceLine("10:00:00-000", "a") + traceLine("10:00:00-010", "| b") +
         traceLine("10:00:00-030", "| | <- b") + traceLine("10:00:00-040", "| b") +
         traceLine("10:00:00-045", "| | <- b") + traceLine("10:00:00-050", "| <- a"));
    const CallTotals a = m_summary.totalsOf("a"), b = m_summary.totalsOf("b");
    EXPECT_EQ(1u, a.count);
    EXPECT_EQ(50, a.total);
    EXPECT_EQ(25, a.own);
    EXPECT_EQ(2u, b.count);
    EXPECT_EQ(25, b.total);
    EXPECT_EQ(25, b.own);
    EXPECT_EQ(20, b.slowest);
    EXPECT_EQ(10, b.slowestBegin % 1000);
    EXPECT_EQ(0u, m_summary.totalsOf("none").count);
}

TEST_F(SummaryTest, ACallInsideItselfCountsOnceInTheTotal) {
    read(traceLine("10:00:00-000", "a") + traceLine("10:00:00-010", "| a") +
         traceLine("10:00:00-030", "| | <- a") + traceLine("10:00:00-050", "| <- a"));
    EXPECT_EQ(50, m_summary.totalsOf("a").total);
    EXPECT_EQ(50, m_summary.totalsOf("a").own);
    EXPECT_EQ(2u, m_summary.totalsOf("a").count);
}

TEST_F(SummaryTest, CallsThatNeverReturnAreCountedAndNotMeasured) {
    read(traceLine("10:00:00-000", "a") + traceLine("10:00:00-010", "| b") +
         traceLine("10:00:00-030", "| | <- b"));
    EXPECT_EQ(1u, m_summary.totalsOf("a").open);
    EXPECT_EQ(0u, m_summary.totalsOf("a").timed);
    EXPECT_EQ(0u, m_summary.totalsOf("b").open);
    EXPECT_EQ(1u, m_summary.json()["calls"][1]["open"]);
    EXPECT_FALSE(m_summary.json()["calls"][1].contains("own_ms"));
}

TEST_F(SummaryTest, TheMostOwnTimeComesFirst) {
    read(traceLine("10:00:00-000", "a") + traceLine("10:00:00-001", "| <- a") +
         traceLine("10:00:00-001", "b") + traceLine("10:00:00-009", "| <- b"));
    EXPECT_THAT(m_summary.names(), ElementsAre("b", "a"));
    std::string text;
    m_summary.tell(1, Zevo::Colours(false), [&](std::string_view part) { text += part; });
    EXPECT_THAT(text,
                HasSubstr("        1            8            8            8  10:00:00.001         b\n"));
    EXPECT_THAT(text, HasSubstr("and 1 calls more; --all shows them"));
}

TEST_F(SummaryTest, WithoutTimesCallsAreCounted) {
    read("[th_7    ][MAIN           ]a\n[th_7    ][MAIN           ]| <- a\n");
    EXPECT_EQ(1u, m_summary.totalsOf("a").count);
    EXPECT_EQ(0u, m_summary.totalsOf("a").timed);
}
