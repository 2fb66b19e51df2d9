#include "Export.h"

#include "TraceFiles.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using nlohmann::json;
using ::testing::ElementsAre;

namespace {

class ExportTest : public ::testing::Test {
protected:
    void SetUp() override {
        write(traceLine("10:00:00-000", "a") + traceLine("10:00:00-002", "| b") +
              traceLine("10:00:00-003", "| | >> [D] \"quoted\" \xff") +
              traceLine("10:00:00-004", "w", 8, "Worker") + traceLine("10:00:00-005", "| | <- b") +
              traceLine("10:00:00-007", "| c"));
    }
    void write(const std::string& text) { m_files.write("trace_0.txt", text, at(10, 0, 1)); }
    std::string exported(const std::function<std::unique_ptr<Zevo::Exporter>(Zevo::Sink)>& make) {
        std::string result;
        const std::unique_ptr<Zevo::Exporter> exporter = make([&](std::string_view text) { result += text; });
        readLines({m_files.path()}, [&](const Zevo::JournalLine& line) { exporter->add(line); });
        exporter->finish();
        return result;
    }
    json chrome() { return json::parse(exported(Zevo::makeChromeExporter)); }
    json speedscope() {
        return json::parse(exported(
            [](Zevo::Sink sink) { return Zevo::makeSpeedscopeExporter(std::move(sink), "a title"); }));
    }
    std::vector<json> jsonLines() {
        const std::string text =
            exported([](Zevo::Sink sink) { return Zevo::makeJsonLinesExporter(std::move(sink), "m1"); });
        std::vector<json> result;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);)
            result.push_back(json::parse(line));
        return result;
    }
    /// The events of one thread, as "B a 0", "E b 5000", ...
    static std::vector<std::string> eventsOf(const json& chrome, int thread) {
        std::vector<std::string> result;
        for (const json& event : chrome["traceEvents"])
            if (event["ph"] != "M" && event["tid"] == thread)
                result.push_back(event["ph"].get<std::string>() + " " + event["name"].get<std::string>() +
                                 " " + std::to_string(event["ts"].get<std::int64_t>()));
        return result;
    }
    TraceFiles m_files;
};

} // namespace

TEST_F(ExportTest, ChromeEventsAreNestedAndNamedOnBothEnds) {
    EXPECT_THAT(eventsOf(chrome(), 0), ElementsAre("B a 0", "B b 2000", "i \"quoted\" \xef\xbf\xbd 3000",
                                                   "E b 5000", "B c 7000", "E c 7000", "E a 7000"));
    EXPECT_THAT(eventsOf(chrome(), 1), ElementsAre("B w 4000", "E w 4000"));
}

TEST_F(ExportTest, ChromeMarksCallsThatNeverReturned) {
    std::vector<std::string> marked;
    const json file = chrome();
    for (const json& event : file["traceEvents"])
        if (event["ph"] == "E" && event.contains("args") && event["args"].value("never_returned", false))
            marked.push_back(event["name"]);
    EXPECT_THAT(marked, ElementsAre("c", "a", "w"));
}

TEST_F(ExportTest, ChromeNamesRunsAndThreads) {
    std::vector<std::string> names;
    const json file = chrome();
    for (const json& event : file["traceEvents"])
        if (event["ph"] == "M")
            names.push_back(event["args"]["name"]);
    EXPECT_THAT(names, ElementsAre("run 1", "MAIN", "Worker"));
}

TEST_F(ExportTest, TimesNeverGoBackOnAThread) {
    write(traceLine("10:00:00-010", "a") + traceLine("10:00:00-020", "| b") +
          traceLine("10:00:00-015", "| | <- b") + traceLine("10:00:00-016", "| <- a"));
    EXPECT_THAT(eventsOf(chrome(), 0), ElementsAre("B a 0", "B b 10000", "E b 10000", "E a 10000"));
}

TEST_F(ExportTest, WithoutTimesTheOrderShows) {
    write("[th_7    ][MAIN           ]a\n[th_7    ][MAIN           ]| b\n[th_7    ][MAIN           ]| | <- "
          "b\n");
    EXPECT_THAT(eventsOf(chrome(), 0), ElementsAre("B a 1", "B b 2", "E b 3", "E a 4"));
}

TEST_F(ExportTest, AnEmptyTraceIsStillJson) {
    write("");
    EXPECT_TRUE(chrome()["traceEvents"].empty());
    EXPECT_TRUE(speedscope()["profiles"].empty());
}

TEST_F(ExportTest, SpeedscopeBeginsWithTheLastRunOfMain) {
    write(traceLine("10:00:00-000", "w", 6, "Worker") + traceLine("10:00:00-001", "a", 7) +
          traceLine("10:00:00-002", "b", 9) + traceLine("10:00:00-003", "w", 8, "Worker"));
    const json file = speedscope();
    EXPECT_THAT(file["profiles"][file["activeProfileIndex"].get<std::size_t>()]["name"].get<std::string>(),
                ::testing::StartsWith("run 2, MAIN"));
}

TEST_F(ExportTest, SpeedscopeHasAProfileForEachThread) {
    const json file = speedscope();
    EXPECT_EQ(file["$schema"], "https://www.speedscope.app/file-format-schema.json");
    EXPECT_EQ(file["name"], "a title");
    ASSERT_EQ(file["profiles"].size(), 2u);
    const json& main = file["profiles"][0];
    EXPECT_EQ(main["type"], "evented");
    EXPECT_EQ(main["unit"], "microseconds");
    EXPECT_EQ(main["name"], "run 1, MAIN (2 calls never returned, innermost: c)");
    EXPECT_EQ(main["startValue"], 0);
    EXPECT_EQ(main["endValue"], 7000);
    std::string events;
    for (const json& event : main["events"])
        events += event["type"].get<std::string>() +
                  file["shared"]["frames"][event["frame"].get<std::size_t>()]["name"].get<std::string>() +
                  " ";
    EXPECT_EQ(events, "Oa Ob Cb Oc Cc Ca ");
}

TEST_F(ExportTest, EveryLineOfTheJournalIsAJsonLine) {
    m_files.write("log_0.txt", "[10:00:00-001][ERROR  ] trouble\n", at(10, 0, 0.5));
    const std::vector<json> lines = jsonLines();
    ASSERT_EQ(lines.size(), 7u);
    EXPECT_EQ(lines[0],
              json::parse(R"({"machine":"m1","run":1,"started":"2026-01-15T10:00:00.000","version":null,
                              "modem":null,"line":1,"time":"2026-01-15T10:00:00.000","elapsed":0,
                              "thread":"MAIN","depth":0,"call":"a","kind":"call","duration":null,
                              "level":null,"number":null,"text":null})"));
    EXPECT_EQ(lines[1],
              json::parse(R"({"machine":"m1","run":1,"started":"2026-01-15T10:00:00.000","version":null,
                              "modem":null,"line":2,"time":"2026-01-15T10:00:00.001","elapsed":1,
                              "thread":null,"depth":0,"call":null,"kind":"log","duration":null,
                              "level":"E","number":null,"text":"trouble"})"));
    EXPECT_EQ(lines[3]["call"], "b") << "a message names its call";
    EXPECT_EQ(lines[3]["depth"], 1);
    EXPECT_EQ(lines[5]["kind"], "exit");
    EXPECT_EQ(lines[5]["depth"], 1) << "the call's own depth";
    EXPECT_EQ(lines[5]["duration"], 3);
    EXPECT_EQ(lines[6]["line"], 7);
}

TEST_F(ExportTest, AJsonLineNamesWhatItsRunHasToldSoFar) {
    m_files.write("log_0.txt", "[10:00:00-002][LEVEL_0]  * Product version : 1.4.2\n", at(10, 0, 0.5));
    write(traceLine("10:00:00-000", "a") +
          traceLine("10:00:00-003", "| >> [D] Configured : modem = M, cdrom = C, to be found = F") +
          traceLine("10:00:00-004", "| <- a"));
    m_files.write("trace_1.txt",
                  traceLine("11:00:00-000", "a", 8) +
                      traceLine("11:00:00-250", "| >> [D] expected modem hardware id : N", 8),
                  at(11, 0, 1));
    std::vector<std::string> told;
    for (const json& line : jsonLines())
        told.push_back(line["started"].get<std::string>().substr(11) + " " + line["version"].dump() + " " +
                       line["modem"].dump() + " " + line["elapsed"].dump());
    EXPECT_THAT(told, ElementsAre("10:00:00.000 null null 0", "10:00:00.000 \"1.4.2\" null 2",
                                  "10:00:00.000 \"1.4.2\" \"M\" 3", "10:00:00.000 \"1.4.2\" \"M\" 4",
                                  "11:00:00.000 null null 0", "11:00:00.000 null \"N\" 250"));
}

TEST_F(ExportTest, AnExitWhoseCallIsNotInTheTraceHasNoDuration) {
    write(traceLine("10:00:00-004", "| <- a"));
    EXPECT_TRUE(jsonLines()[0]["duration"].is_null());
}

TEST_F(ExportTest, AJsonLineWithoutATimeHasNone) {
    write("[th_7    ][MAIN           ]a\n[th_7    ][MAIN           ]| <- a\n");
    for (const json& line : jsonLines())
        for (const char* const field : {"started", "time", "elapsed", "duration"})
            EXPECT_TRUE(line[field].is_null()) << field;
}

TEST_F(ExportTest, AJsonLineOfACrashReportHasItsNumber) {
    write(traceLine("10:00:00-000", "a") +
          "\n-------------- CALLSTACK --------------\n[th_7    ][MAIN           ]    [1] a\n"
          "---------------------------------------\n\n-------------- OBJECT(S) COUNT --------------\n"
          "Class = ZevoLauncher                  , count = 000012\n"
          "---------------------------------------------\n");
    std::vector<std::string> numbered;
    for (const json& line : jsonLines())
        if (!line["number"].is_null())
            numbered.push_back(line["text"].get<std::string>() + " " + line["number"].dump());
    EXPECT_THAT(numbered, ElementsAre("a 1", "ZevoLauncher 12"));
}
