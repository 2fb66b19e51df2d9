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
    EXPECT_EQ(line.kind, LineKind::call);
    EXPECT_EQ(line.timeOfDay, ((10 * 60 + 40) * 60 + 21) * 1000 + 912);
    EXPECT_EQ(line.threadNumber, -1688032320);
    EXPECT_EQ(line.threadName, "MAIN");
    EXPECT_EQ(line.objects, 1);
    EXPECT_EQ(line.address, "0xa47fce90");
    EXPECT_EQ(line.depth, 3u);
    EXPECT_EQ(line.text, "Some::constructor");
}

TEST(TraceLineTest, ColumnsThatAreSwitchedOff) {
    const TraceLine line = parsed("[th_7    ][th_7           ]    ZevoLauncher::init");
    EXPECT_EQ(line.kind, LineKind::call);
    EXPECT_EQ(line.timeOfDay, -1);
    EXPECT_EQ(line.threadNumber, 7);
    EXPECT_EQ(line.threadName, "th_7");
    EXPECT_EQ(line.objects, -1);
    EXPECT_EQ(line.address, "");
    EXPECT_EQ(line.depth, 2u);
}

TEST(TraceLineTest, AnExitStandsOneUnitDeeper) {
    const TraceLine line = parsed("[th_7    ][MAIN           ][     ][0x4c23d060]| | <- ZevoLauncher::init");
    EXPECT_EQ(line.kind, LineKind::exit);
    EXPECT_EQ(line.depth, 2u);
    EXPECT_EQ(line.text, "ZevoLauncher::init");
    EXPECT_EQ(line.objects, -1);
}

TEST(TraceLineTest, AMessageKeepsItsOwnBlanks) {
    const TraceLine line =
        parsed("[th_7    ][MAIN           ][     ][          ]    >> [D]  hardware id to be found : 1|2");
    EXPECT_EQ(line.kind, LineKind::message);
    EXPECT_EQ(line.level, 'D');
    EXPECT_EQ(line.depth, 2u);
    EXPECT_EQ(line.text, " hardware id to be found : 1|2");
}

TEST(TraceLineTest, EveryLevelOfAMessage) {
    for (const char level : std::string("DEW012345")) {
        const TraceLine line = parsed(std::string("[th_7    ][MAIN           ]>> [") + level + "] text");
        EXPECT_EQ(line.kind, LineKind::message);
        EXPECT_EQ(line.level, level);
    }
}

TEST(TraceLineTest, ALogLineWithAndWithoutATime) {
    TraceLine line = parsed("[10:40:21-912][LEVEL_0]  * Product Name : Quillmarsh");
    EXPECT_EQ(line.kind, LineKind::log);
    EXPECT_EQ(line.level, '0');
    EXPECT_EQ(line.text, " * Product Name : Quillmarsh");
    EXPECT_GE(line.timeOfDay, 0);
    line = parsed("[ERROR  ] text");
    EXPECT_EQ(line.kind, LineKind::log);
    EXPECT_EQ(line.level, 'E');
}

TEST(TraceLineTest, TheLinesOfACrashReport) {
    LineParser parser;
    EXPECT_EQ(parser.parse("").kind, LineKind::text);
    EXPECT_EQ(parser.parse("-------------- CALLSTACK --------------").kind, LineKind::stackHead);
    const TraceLine call = parser.parse("[th_7    ][Worker         ]    [3] SIGNAL_FILTER");
    EXPECT_EQ(call.kind, LineKind::stackCall);
    EXPECT_EQ(call.number, 3);
    EXPECT_EQ(call.threadName, "Worker");
    EXPECT_EQ(call.text, "SIGNAL_FILTER");
    EXPECT_EQ(parser.parse("---------------------------------------").kind, LineKind::rule);
    EXPECT_EQ(parser.parse("").kind, LineKind::text);
    EXPECT_EQ(parser.parse("-------------- OBJECT(S) COUNT --------------").kind, LineKind::objectsHead);
    const TraceLine count = parser.parse("Class = ZevoLauncher                  , count = 000012");
    EXPECT_EQ(count.kind, LineKind::objectCount);
    EXPECT_EQ(count.text, "ZevoLauncher");
    EXPECT_EQ(count.number, 12);
    EXPECT_EQ(parser.parse("---------------------------------------------").kind, LineKind::rule);
}

TEST(TraceLineTest, AMessageMayHoldLineFeeds) {
    LineParser parser;
    parser.parse("[th_7    ][MAIN           ]>> [D] IOServiceMatching returned NULL.");
    EXPECT_EQ(parser.parse("and more of it").kind, LineKind::text);
    EXPECT_EQ(parser.parse("and more").kind, LineKind::text);
    EXPECT_EQ(parser.parse(std::string(60, '-')).kind, LineKind::text) << "a rule is one in a report only";
    parser.parse("[th_7    ][MAIN           ]ZevoLauncher::init");
    EXPECT_EQ(parser.parse("and more").kind, LineKind::torn);
}

TEST(TraceLineTest, TornLinesAreTold) {
    LineParser parser;
    parser.parse("[th_7    ][MAIN           ]>> [D] text");
    for (const char* const line :
         {"????????????", "7    ][MAIN           ]ZevoLauncher::init", "[10:40:21-912][th_-16",
          "[10:40:21-912]", "[10:4", "cher::init[10:40:21-912][th_7    ][MAIN           ]| ZevoLauncher::run",
          "[th_x][MAIN   ]call", "[th_7    ][MAIN           ]| | ", "[th_7    ][MAIN           ]????", "[th_",
          "[th_7    ]"})
        EXPECT_EQ(parser.parse(line).kind, LineKind::torn) << line;
    EXPECT_EQ(parser.parse(std::string_view("\0\0\0", 3)).kind, LineKind::torn);
}

TEST(TraceLineTest, ATimeHasItsRange) {
    EXPECT_EQ(timeOfDayOf("[00:00:00-000]"), 0);
    EXPECT_EQ(timeOfDayOf("[23:59:59-999][th_"), 86399999);
    for (const char* const text : {"", "[24:00:00-000]", "[23:60:00-000]", "[23:59:61-000]", "[1:00:00-000]",
                                   "[10:00:00.000]", "10:00:00-000"})
        EXPECT_EQ(timeOfDayOf(text), -1) << text;
}
