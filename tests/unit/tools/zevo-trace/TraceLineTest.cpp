#include "TraceLine.h"

#include <gtest/gtest.h>

using Zevo::LineKind;
using Zevo::LineParser;
using Zevo::timeOfDayOf;
using Zevo::TraceLine;

namespace {

TraceLine parsed(std::string_view line) {
    return LineParser().parse(line);
}

} // namespace

TEST(TraceLineTest, ACallWithAllColumns) {
    const TraceLine line =
        parsed("[10:40:21-912][th_-1688032320][MAIN           ][1    ][0xa47fce90]| | | Some::constructor");
    EXPECT_EQ(LineKind::call, line.kind);
    EXPECT_EQ(((10 * 60 + 40) * 60 + 21) * 1000 + 912, line.timeOfDay);
    EXPECT_EQ(-1688032320, line.threadNumber);
    EXPECT_EQ("MAIN", line.threadName);
    EXPECT_EQ(1, line.objects);
    EXPECT_EQ("0xa47fce90", line.address);
    EXPECT_EQ(3u, line.depth);
    EXPECT_EQ("Some::constructor", line.text);
}

TEST(TraceLineTest, ColumnsThatAreSwitchedOff) {
    const TraceLine line = parsed("[th_7    ][th_7           ]    ZevoLauncher::init");
    EXPECT_EQ(LineKind::call, line.kind);
    EXPECT_EQ(-1, line.timeOfDay);
    EXPECT_EQ(7, line.threadNumber);
    EXPECT_EQ("th_7", line.threadName);
    EXPECT_EQ(-1, line.objects);
    EXPECT_EQ("", line.address);
    EXPECT_EQ(2u, line.depth);
}

TEST(TraceLineTest, AnExitStandsOneUnitDeeper) {
    const TraceLine line = parsed("[th_7    ][MAIN           ][     ][0x4c23d060]| | <- ZevoLauncher::init");
    EXPECT_EQ(LineKind::exit, line.kind);
    EXPECT_EQ(2u, line.depth);
    EXPECT_EQ("ZevoLauncher::init", line.text);
    EXPECT_EQ(-1, line.objects);
}

TEST(TraceLineTest, AMessageKeepsItsOwnBlanks) {
    const TraceLine line =
        parsed("[th_7    ][MAIN           ][     ][          ]    >> [D]  hardware id to be found : 1|2");
    EXPECT_EQ(LineKind::message, line.kind);
    EXPECT_EQ('D', line.level);
    EXPECT_EQ(2u, line.depth);
    EXPECT_EQ(" hardware id to be found : 1|2", line.text);
}

TEST(TraceLineTest, EveryLevelOfAMessage) {
    for (const char level : std::string("DEW012345")) {
        const TraceLine line = parsed(std::string("[th_7    ][MAIN           ]>> [") + level + "] text");
        EXPECT_EQ(LineKind::message, line.kind);
        EXPECT_EQ(level, line.level);
    }
}

TEST(TraceLineTest, ALogLineWithAndWithoutATime) {
    TraceLine line = parsed("[10:40:21-912][LEVEL_0]  * Product Name : Quillmarsh");
    EXPECT_EQ(LineKind::log, line.kind);
    EXPECT_EQ('0', line.level);
    EXPECT_EQ(" * Product Name : Quillmarsh", line.text);
    EXPECT_GE(line.timeOfDay, 0);
    line = parsed("[ERROR  ] text");
    EXPECT_EQ(LineKind::log, line.kind);
    EXPECT_EQ('E', line.level);
}

TEST(TraceLineTest, TheLinesOfACrashReport) {
    LineParser parser;
    EXPECT_EQ(LineKind::text, parser.parse("").kind);
    EXPECT_EQ(LineKind::stackHead, parser.parse("-------------- CALLSTACK --------------").kind);
    const TraceLine call = parser.parse("[th_7    ][Worker         ]    [3] SIGNAL_FILTER");
    EXPECT_EQ(LineKind::stackCall, call.kind);
    EXPECT_EQ(3, call.number);
    EXPECT_EQ("Worker", call.threadName);
    EXPECT_EQ("SIGNAL_FILTER", call.text);
    EXPECT_EQ(LineKind::rule, parser.parse("---------------------------------------").kind);
    EXPECT_EQ(LineKind::text, parser.parse("").kind);
    EXPECT_EQ(LineKind::objectsHead, parser.parse("-------------- OBJECT(S) COUNT --------------").kind);
    const TraceLine count = parser.parse("Class = ZevoLauncher                  , count = 000012");
    EXPECT_EQ(LineKind::objectCount, count.kind);
    EXPECT_EQ("ZevoLauncher", count.text);
    EXPECT_EQ(12, count.number);
    EXPECT_EQ(LineKind::rule, parser.parse("---------------------------------------------").kind);
}

TEST(TraceLineTest, AMessageMayHoldLineFeeds) {
    LineParser parser;
    parser.parse("[th_7    ][MAIN           ]>> [D] IOServiceMatching returned NULL.");
    EXPECT_EQ(LineKind::text, parser.parse("and more of it").kind);
    EXPECT_EQ(LineKind::text, parser.parse("and more").kind);
    EXPECT_EQ(LineKind::text, parser.parse(std::string(60, '-')).kind) << "a rule is one in a report only";
    parser.parse("[th_7    ][MAIN           ]ZevoLauncher::init");
    EXPECT_EQ(LineKind::torn, parser.parse("and more").kind);
}

TEST(TraceLineTest, TornLinesAreTold) {
    LineParser parser;
    parser.parse("[th_7    ][MAIN           ]>> [D] text");
    for (const char* const line :
         {"????????????", "7    ][MAIN           ]ZevoLauncher::init", "[10:40:21-912][th_-16",
          "[10:40:21-912]", "[10:4", "cher::init[10:40:21-912][th_7    ][MAIN           ]| ZevoLauncher::run",
          "[th_x][MAIN   ]call", "[th_7    ][MAIN           ]| | ", "[th_7    ][MAIN           ]????", "[th_",
          "[th_7    ]"})
        EXPECT_EQ(LineKind::torn, parser.parse(line).kind) << line;
    EXPECT_EQ(LineKind::torn, parser.parse(std::string_view("\0\0\0", 3)).kind);
}

TEST(TraceLineTest, ATimeHasItsRange) {
    EXPECT_EQ(0, timeOfDayOf("[00:00:00-000]"));
    EXPECT_EQ(86399999, timeOfDayOf("[23:59:59-999][th_"));
    for (const char* const text : {"", "[24:00:00-000]", "[23:60:00-000]", "[23:59:61-000]", "[1:00:00-000]",
                                   "[10:00:00.000]", "10:00:00-000"})
        EXPECT_EQ(-1, timeOfDayOf(text)) << text;
}
