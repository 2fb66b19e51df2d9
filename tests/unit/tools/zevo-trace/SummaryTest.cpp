#include "Summary.h"

#include "TraceFiles.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

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
    EXPECT_EQ(a.count, 1u);
    EXPECT_EQ(a.total, 50);
    EXPECT_EQ(a.own, 25);
    EXPECT_EQ(b.count, 2u);
    EXPECT_EQ(b.total, 25);
    EXPECT_EQ(b.own, 25);
    EXPECT_EQ(b.slowest, 20);
    EXPECT_EQ(b.slowestBegin % 1000, 10);
    EXPECT_EQ(m_summary.totalsOf("none").count, 0u);
}

TEST_F(SummaryTest, ACallInsideItselfCountsOnceInTheTotal) {
    read(traceLine("10:00:00-000", "a") + traceLine("10:00:00-010", "| a") +
         traceLine("10:00:00-030", "| | <- a") + traceLine("10:00:00-050", "| <- a"));
    EXPECT_EQ(m_summary.totalsOf("a").total, 50);
    EXPECT_EQ(m_summary.totalsOf("a").own, 50);
    EXPECT_EQ(m_summary.totalsOf("a").count, 2u);
}

TEST_F(SummaryTest, CallsThatNeverReturnAreCountedAndNotMeasured) {
    read(traceLine("10:00:00-000", "a") + traceLine("10:00:00-010", "| b") +
         traceLine("10:00:00-030", "| | <- b"));
    EXPECT_EQ(m_summary.totalsOf("a").open, 1u);
    EXPECT_EQ(m_summary.totalsOf("a").timed, 0u);
    EXPECT_EQ(m_summary.totalsOf("b").open, 0u);
    EXPECT_EQ(m_summary.json()["calls"][1]["open"], 1u);
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
    EXPECT_EQ(m_summary.totalsOf("a").count, 1u);
    EXPECT_EQ(m_summary.totalsOf("a").timed, 0u);
}
