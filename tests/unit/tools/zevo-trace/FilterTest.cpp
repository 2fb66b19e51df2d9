#include "Filter.h"

#include "Tool.h"
#include "TraceFiles.h"

#include <gmock/gmock.h>

using Zevo::Filter;
using Zevo::FilterRules;
using Zevo::TimeBound;

namespace {

class FilterTest : public ::testing::Test {
protected:
    FilterTest() {
        m_files.write(
            "trace_0.txt",
            traceLine("10:00:00-000", "A::run") + traceLine("10:00:01-000", "| >> [D] 1 begins") +
                "2 more\n" + traceLine("10:00:02-000", "| B::read") +
                traceLine("10:00:03-000", "| | >> [E] 3 Error") +
                traceLine("10:00:04-000", "| | <- B::read") + traceLine("10:01:05-000", "| >> [W] 4 odd") +
                traceLine("10:02:00-000", "C::work", 8, "Worker") + traceLine("10:02:01-000", "| <- A::run"),
            at(10, 2, 1.2));
        m_files.write("log_0.txt", "[10:00:03-500][ERROR  ] 5 log\n", at(10, 0, 3.6));
    }
    /// The numbers of the messages and the names of the calls that pass the filter; exits in brackets.
    std::string wanted(const FilterRules& rules) {
        Filter filter(rules);
        std::vector<std::string> notes;
        Zevo::Journal journal(Zevo::findRings({m_files.path()}, notes), notes);
        std::string result;
        for (Zevo::JournalLine line; journal.next(line);) {
            if (!filter.wants(line))
                continue;
            const char first = line.line.text[0];
            result += line.line.kind == Zevo::LineKind::exit ? std::string("(") + first + ")"
                                                             : std::string(1, first);
        }
        return result;
    }
    TraceFiles m_files;
};

} // namespace

TEST_F(FilterTest, WithoutRulesEverythingIsWanted) {
    EXPECT_EQ(wanted({}), "A12B35(B)4C(A)");
}

TEST_F(FilterTest, AThreadIsNamedAsInTheTracersConfiguration) {
    FilterRules rules;
    rules.threads = {"Work*"};
    EXPECT_EQ(wanted(rules), "C");
    rules.threads = {"*AIN", "Worker"};
    EXPECT_EQ(wanted(rules), "A12B3(B)4C(A)") << "the log has no threads";
}

TEST_F(FilterTest, ACallComesWithItsMessagesOnly) {
    FilterRules rules;
    rules.calls = {"A::*"};
    EXPECT_EQ(wanted(rules), "A124(A)");
    rules.calls = {"*::read"};
    EXPECT_EQ(wanted(rules), "B3(B)");
}

TEST_F(FilterTest, ADashHidesACallAsInTheTracersConfiguration) {
    FilterRules rules;
    rules.calls = {"*", "-*::re*"};
    EXPECT_EQ(wanted(rules), "A124C(A)");
    rules.calls = {"-A::*"};
    EXPECT_EQ(wanted(rules), "B3(B)C") << "hiding alone leaves all others";
}

TEST_F(FilterTest, WithinACallIsEverythingThatItDoes) {
    FilterRules rules;
    rules.within = {"B::read"};
    EXPECT_EQ(wanted(rules), "B3(B)");
    rules.within = {"A::run"};
    EXPECT_EQ(wanted(rules), "A12B3(B)4(A)");
}

TEST_F(FilterTest, LevelsChooseMessagesOfTraceAndLog) {
    FilterRules rules;
    rules.levels = Zevo::levelsOf("error,W");
    EXPECT_EQ(wanted(rules), "354");
    rules.levels = Zevo::levelsOf("debug");
    EXPECT_EQ(wanted(rules), "12") << "the text that goes on with a message goes with it";
    EXPECT_THROW(Zevo::levelsOf("errors"), Zevo::UsageError);
}

TEST_F(FilterTest, TextIsFoundInAnyLetterCase) {
    FilterRules rules;
    rules.texts = {"ERROR", "odd"};
    EXPECT_EQ(wanted(rules), "354");
}

TEST_F(FilterTest, TimesAreAsExactAsTheyAreWritten) {
    FilterRules rules;
    rules.from = TimeBound("10:00:02");
    rules.to = TimeBound("10:00:03");
    EXPECT_EQ(wanted(rules), "B35") << "a second is a whole one";
    rules.to = TimeBound("10:00:03-000");
    EXPECT_EQ(wanted(rules), "B3");
    rules.from = TimeBound("10:01");
    rules.to = TimeBound("10:01");
    EXPECT_EQ(wanted(rules), "4");
}

TEST_F(FilterTest, ADateIsComparedToo) {
    FilterRules rules;
    rules.from = TimeBound("2026-01-15 10:02");
    EXPECT_EQ(wanted(rules), "C(A)");
    rules.from = TimeBound("2026-01-16");
    EXPECT_EQ(wanted(rules), "");
    rules.from = TimeBound("2026-01-14T23:00:00.000");
    rules.to = TimeBound("2026-01-15");
    EXPECT_EQ(wanted(rules), "A12B35(B)4C(A)");
}

TEST_F(FilterTest, WhatIsNoTimeIsRefused) {
    for (const char* const text :
         {"", "10", "25:00", "10:00:0", "10:00:00-00", "2026-02-30", "2026-01-15x10:00", "noon"})
        EXPECT_THROW(TimeBound{text}, Zevo::UsageError) << text;
}
