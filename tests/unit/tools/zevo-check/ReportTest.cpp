#include "Report.h"

#include "Installation.h"
#include "JsonSchema.h"
#include "LiveReport.h"
#include "TextFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using nlohmann::json;
using testing::HasSubstr;

namespace {

JsonSchema schema() {
    return JsonSchema(json::parse(readFile(DOCS_FOLDER "/schemas/zevo-check.json")));
}

} // namespace

TEST(Report, JsonIsAsItsSchemaSays) {
    for (const std::string& mistake : allMistakes()) {
        SCOPED_TRACE(mistake);
        const Installation installation(mistake);
        const json report = json::parse(asJson(installation.check(), installation.options()).dump());
        schema().expectValid(report);
        EXPECT_FALSE(report.at("findings").empty());
    }
    const Installation correct;
    const json report = json::parse(asJson(correct.check(), correct.options()).dump());
    schema().expectValid(report);
    EXPECT_TRUE(report.at("findings").empty());
    EXPECT_EQ(report.at("logFolder"), correct / "data/Ferrow/Quillmarsh-1/Logs/");
}

TEST(Report, MarksStandBelowLettersOfSeveralBytesAndTabs) {
    Zevo::CheckResult result;
    result.findings.push_back({"id", {"file", 7, 9, 4, "\t\xC3\xA4\xC3\xB6 = wert"}, "wrong", "", ""});
    EXPECT_THAT(asText(result, {}, Zevo::Colours(false)), HasSubstr("  7 | \t\xC3\xA4\xC3\xB6 = wert\n"
                                                                    "    | \t     ^~~~\n"));
}

TEST(Report, ALongLineIsShownAroundThePlace) {
    Zevo::CheckResult result;
    result.findings.push_back(
        {"id", {"file", 1, 1001, 1, std::string(1000, 'a') + "X" + std::string(1000, 'b')}, "", "", ""});
    const std::string text = asText(result, {}, Zevo::Colours(false));
    EXPECT_LT(text.size(), 500u);
    EXPECT_THAT(text, HasSubstr("aaaXbbb"));
    EXPECT_THAT(text, HasSubstr("| " + std::string(80, ' ') + "^\n"));
}

TEST(Report, ControlCharactersDoNotReachTheTerminal) {
    Zevo::CheckResult result;
    result.findings.push_back({"id", {"file", 1, 1, 1, "\x1B[31mred"}, "an \x1B in the text", "", ""});
    EXPECT_EQ(asText(result, {}, Zevo::Colours(false)).find('\x1B'), std::string::npos);
}

TEST(LiveReport, JsonIsAsItsSchemaSays) {
    Zevo::Live live;
    live.devices.push_back({0x12d1, 0x1001, "Mobile", "USB#Vid_12d1&Pid_1001", true, false, true});
    live.applications.push_back({"/Applications/A.app", true, {17}});
    live.launchers.push_back({18, 1000, "/usr/libexec/zevolauncher/ZevoLauncher", false});
    schema().expectValid(asJson(live), "/properties/live");
}

TEST(LiveReport, ADeviceDoesNotWriteToTheTerminal) {
    Zevo::Live live;
    live.devices.push_back({1, 2, "\x1B[31mred", "USB#Vid_0001&Pid_0002", false, false, false});
    EXPECT_THAT(asText(live, Zevo::Colours(false)), HasSubstr("  0001:0002 ?[31mred\n"));
}
