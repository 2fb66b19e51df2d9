#include "Crash.h"

#include "TraceFiles.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using Zevo::CrashReport;

namespace {

const char OBJECTS[] = "\n-------------- OBJECT(S) COUNT --------------\n"
                       "Class = Dictionary                    , count = 000003\n"
                       "Class = ZevoLauncher                  , count = 000001\n"
                       "---------------------------------------------\n";

std::string stackOf(const std::string& thread, const std::string& call) {
    std::string name = thread;
    name.resize(15, ' ');
    return "\n-------------- CALLSTACK --------------\n[th_7    ][" + name + "]    [2] " + call +
           "\n[th_7    ][" + name + "]    [1] main\n---------------------------------------\n";
}

class CrashTest : public ::testing::Test {
protected:
    std::vector<CrashReport> read(const std::string& text, std::size_t lines = 2) {
        m_files.write("trace_0.txt", text, at(10, 0, 1));
        Zevo::CrashReader reader(lines);
        readLines({m_files.path()}, [&](const Zevo::JournalLine& line) { reader.add(line); });
        return reader.reports();
    }
    const std::string m_before =
        traceLine("10:00:00-000", "a") + traceLine("10:00:00-001", "work", 8, "Worker") +
        traceLine("10:00:00-002", "| b") + traceLine("10:00:00-003", "| | >> [D] last");
    const std::string m_cause = traceLine("10:00:00-004", "| SIGNAL_FILTER") +
                                traceLine("10:00:00-004", "| | >> [E] SIGNAL_BUS_ERROR");
    TraceFiles m_files;
};

} // namespace

TEST_F(CrashTest, CauseStacksAndObjects) {
    const std::vector<CrashReport> reports =
        read(m_before + m_cause + stackOf("MAIN", "SIGNAL_FILTER") + stackOf("Worker", "work") + OBJECTS);
    ASSERT_EQ(reports.size(), 1u);
    const CrashReport& report = reports[0];
    EXPECT_EQ(report.cause, "SIGNAL_BUS_ERROR");
    EXPECT_EQ(report.thread, "MAIN");
    EXPECT_EQ(report.time % 1000, 4);
    ASSERT_EQ(report.stacks.size(), 2u);
    EXPECT_EQ(report.stacks[0].thread, "MAIN");
    EXPECT_THAT(report.stacks[0].calls, ElementsAre("SIGNAL_FILTER", "main"));
    EXPECT_EQ(report.stacks[1].thread, "Worker");
    EXPECT_THAT(report.objects, ElementsAre(Pair("Dictionary", 3), Pair("ZevoLauncher", 1)));
    EXPECT_TRUE(report.isWhole);
}

TEST_F(CrashTest, TheThreadsLastLinesAreItsOwn) {
    const std::vector<CrashReport> reports = read(m_before + m_cause + OBJECTS);
    EXPECT_THAT(reports.at(0).before, ElementsAre(HasSubstr("]| b"), HasSubstr("]| | >> [D] last")));
    EXPECT_THAT(read(m_before + m_cause + OBJECTS, 0).at(0).before, IsEmpty());
}

TEST_F(CrashTest, AReportThatBreaksOffIsTold) {
    const std::vector<CrashReport> reports =
        read(m_before + m_cause + "\n-------------- CALLSTACK --------------\n");
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_FALSE(reports[0].isWhole);
    std::string text;
    tell(reports[0], Zevo::Colours(false), [&](std::string_view part) { text += part; });
    EXPECT_THAT(text, HasSubstr("The report has no end"));
}

TEST_F(CrashTest, AHiddenCauseIsTold) {
    const std::vector<CrashReport> reports = read(m_before + stackOf("MAIN", "b") + OBJECTS);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].cause, "");
    std::string text;
    tell(reports[0], Zevo::Colours(false), [&](std::string_view part) { text += part; });
    EXPECT_THAT(text, HasSubstr("not in the trace: the filters hide it"));
}

TEST_F(CrashTest, ABrokenContractIsExplained) {
    const std::string cause =
        "REQUIRE VIOLATION : arg != NULL - In File : product/x/KFThread - At Line : 156";
    const std::vector<CrashReport> reports = read(m_before + traceLine("10:00:00-004", "| SIGNAL_FILTER") +
                                                  traceLine("10:00:00-004", "| | >> [E] " + cause) + OBJECTS);
    EXPECT_EQ(reports.at(0).cause, cause);
    EXPECT_THAT(jsonOf(reports[0])["meaning"].get<std::string>(), HasSubstr("did not hold"));
}

TEST_F(CrashTest, WithoutAReportThereIsNone) {
    EXPECT_THAT(read(m_before), IsEmpty());
}
