#include "Report.h"

#include "Installation.h"
#include "TextFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using nlohmann::json;
using testing::HasSubstr;

namespace {

bool isOfType(const json& value, const std::string& type) {
    return type == "string"    ? value.is_string()
           : type == "boolean" ? value.is_boolean()
           : type == "integer" ? value.is_number_integer()
           : type == "array"   ? value.is_array()
                               : value.is_object();
}

// As much of a schema as docs/zevo-check.schema.json uses.
void expectValid(const json& value, const json& schema, const std::string& where) {
    ASSERT_TRUE(isOfType(value, schema.at("type"))) << where;
    if (schema.contains("minimum")) {
        EXPECT_GE(value.get<int>(), schema.at("minimum").get<int>()) << where;
    }
    if (value.is_array()) {
        for (const json& item : value)
            expectValid(item, schema.at("items"), where + "[]");
    }
    if (!value.is_object())
        return;
    for (const json& name : schema.at("required"))
        EXPECT_TRUE(value.contains(name.get<std::string>())) << where << " lacks " << name;
    for (const auto& [name, member] : value.items()) {
        ASSERT_TRUE(schema.at("properties").contains(name)) << where << " has " << name;
        expectValid(member, schema.at("properties").at(name), where + "." + name);
    }
}

} // namespace

TEST(Report, JsonIsAsItsSchemaSays) {
    const json schema = json::parse(readFile(DOCS_FOLDER "/zevo-check.schema.json"));
    for (const std::string& mistake : allMistakes()) {
        SCOPED_TRACE(mistake);
        const Installation installation(mistake);
        const json report = json::parse(asJson(installation.check(), installation.options()).dump());
        expectValid(report, schema, "report");
        EXPECT_FALSE(report.at("findings").empty());
    }
    const Installation correct;
    const json report = json::parse(asJson(correct.check(), correct.options()).dump());
    expectValid(report, schema, "report");
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
