#include "CallTree.h"

#include "TraceFiles.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using Zevo::CallEnd;
using Zevo::CallTree;
using Zevo::Moment;

namespace {

class CallTreeTest : public ::testing::Test, public Zevo::CallObserver {
protected:
    void callBegins(const Zevo::TracedThread& thread, const Zevo::OpenCall& call) override {
        m_events.push_back(thread.name + " " + m_tree.names()[call.name] + " {");
    }
    void callEnds(const Zevo::TracedThread& thread, const Zevo::OpenCall& call, Moment end,
                  CallEnd how) override {
        const char* const words[] = {"", " implied", " open"};
        m_events.push_back(thread.name + " " + m_tree.names()[call.name] + " } " +
                           (end < 0 ? "?" : std::to_string(end - call.begin)) + "-" +
                           std::to_string(call.inside) + words[static_cast<int>(how)]);
    }
    void read(const std::string& text) {
        m_files.write("trace_0.txt", text, at(10, 0, 1));
        std::vector<std::string> notes;
        Zevo::Journal journal(Zevo::findRings({m_files.path()}, notes), notes);
        for (Zevo::JournalLine line; journal.next(line);)
            m_tree.add(line);
        m_tree.finish();
    }
    TraceFiles m_files;
    CallTree m_tree{*this};
    std::vector<std::string> m_events;
};

} // namespace

TEST_F(CallTreeTest, NestsCallsAndCountsWhatIsInside) {
    read(traceLine("10:00:00-000", "a") + traceLine("10:00:00-002", "| b") +
         traceLine("10:00:00-003", "| | >> [D] x") + traceLine("10:00:00-005", "| | <- b") +
         traceLine("10:00:00-009", "| <- a"));
    EXPECT_THAT(m_events, ElementsAre("MAIN a {", "MAIN b {", "MAIN b } 3-0", "MAIN a } 9-3"));
}

TEST_F(CallTreeTest, WithoutExitsACallEndsWhereTheNextLineStandsBesideIt) {
    read(traceLine("10:00:00-000", "a") + traceLine("10:00:00-002", "  b") +
         traceLine("10:00:00-005", "  c") + traceLine("10:00:00-006", "  >> [D] of a"));
    EXPECT_THAT(m_events, ElementsAre("MAIN a {", "MAIN b {", "MAIN b } 3-0 implied", "MAIN c {",
                                      "MAIN c } 1-0 implied", "MAIN a } 6-4 open"));
}

TEST_F(CallTreeTest, ThreadsDoNotMix) {
    read(traceLine("10:00:00-000", "a") + traceLine("10:00:00-001", "b", 8, "Other") +
         traceLine("10:00:00-002", "| <- a") + traceLine("10:00:00-004", "| <- b", 8, "Other"));
    EXPECT_THAT(m_events, ElementsAre("MAIN a {", "Other b {", "MAIN a } 2-0", "Other b } 3-0"));
}

TEST_F(CallTreeTest, LinesLostAtARotationDoNoHarm) {
    read(traceLine("10:00:00-000", "| | <- unseen") + traceLine("10:00:00-001", "| a") +
         traceLine("10:00:00-002", "| | <- other") + traceLine("10:00:00-003", "| | | b"));
    EXPECT_THAT(m_events, ElementsAre("MAIN a {", "MAIN a } 1-0 implied", "MAIN b {", "MAIN b } 0-0 open"));
}

TEST_F(CallTreeTest, ACutLineIsNoCall) {
    read(traceLine("10:00:00-000", "a") + "[10:00:00-001][th_7    ][MAIN           ]| Some::na");
    EXPECT_THAT(m_events, ElementsAre("MAIN a {", "MAIN a } 0-0 open"));
}

TEST_F(CallTreeTest, WithoutTimesThereAreNoDurations) {
    read("[th_7    ][MAIN           ]a\n[th_7    ][MAIN           ]| <- a\n");
    EXPECT_THAT(m_events, ElementsAre("MAIN a {", "MAIN a } ?-0"));
}
