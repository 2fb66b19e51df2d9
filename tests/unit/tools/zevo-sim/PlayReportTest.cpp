#include "PlayReport.h"

#include "JsonSchema.h"
#include "TextFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::Not;
using namespace Zevo;

namespace {

Outcome outcome(Step::Kind kind, int line, const std::string& text) {
    Outcome result;
    result.step.kind = kind;
    result.step.text = text;
    result.step.place = {"a.sim", line, 1, static_cast<int>(text.size()), text};
    result.seconds = 0.25;
    return result;
}

Played somethingPlayed() {
    Played played;
    played.script = "a.sim";
    played.seconds = 1.5;
    played.events = 4;
    played.outcomes = {outcome(Step::Kind::plug, 1, "plug 12d1:1446"),
                       outcome(Step::Kind::expectStarted, 2, "expect application started within 1s")};
    return played;
}

Played withTrouble() {
    Played played = somethingPlayed();
    Outcome unmet = outcome(Step::Kind::expectText, 3, "expect \"<a & b>\" in x within 1s");
    unmet.isMet = false;
    unmet.told = "it does not stand \x01there";
    Outcome refused = outcome(Step::Kind::unplug, 4, "unplug");
    refused.isMet = false;
    refused.isRefused = true;
    refused.told = "nothing is plugged in";
    played.outcomes.push_back(unmet);
    played.outcomes.push_back(refused);
    return played;
}

} // namespace

TEST(PlayReport, OneLineTellsWhatCameOfIt) {
    EXPECT_EQ(summaryText(somethingPlayed(), Colours(false)),
              "a.sim: 1 expectation, all met, 4 events in 1.5 s\n");
    EXPECT_EQ(summaryText(withTrouble(), Colours(false)),
              "a.sim: 2 expectations, 1 not met, 1 statement refused, 4 events in 1.5 s\n");
    EXPECT_TRUE(somethingPlayed().isFine());
    EXPECT_FALSE(withTrouble().isFine());
}

TEST(PlayReport, WhatIsNotMetIsToldWithItsLine) {
    EXPECT_EQ(complaintText(withTrouble().outcomes[3], Colours(false)), "a.sim:4:1: nothing is plugged in\n"
                                                                        "  4 | unplug\n"
                                                                        "    | ^~~~~~\n");
    EXPECT_EQ(complaintText(withTrouble().outcomes[0], Colours(false)), "");
}

TEST(PlayReport, JsonIsAsItsSchemaSays) {
    const JsonSchema schema(nlohmann::json::parse(readFile(DOCS_FOLDER "/schemas/zevo-sim.json")));
    schema.expectValid(nlohmann::json::parse(asJson(somethingPlayed()).dump()), "/definitions/play");
    schema.expectValid(nlohmann::json::parse(asJson(withTrouble()).dump()), "/definitions/play");
}

TEST(PlayReport, JunitHasACaseForEachExpectationAndForWhatWasRefused) {
    const std::string fine = junitText(somethingPlayed());
    EXPECT_THAT(
        fine,
        HasSubstr("<testsuite name=\"a.sim\" tests=\"1\" failures=\"0\" errors=\"0\" time=\"1.500\">\n"));
    EXPECT_THAT(
        fine, HasSubstr("<testcase name=\"line 2: expect application started within 1s\" classname=\"a.sim\" "
                        "time=\"0.250\"/>\n"));
    EXPECT_THAT(fine, Not(HasSubstr("plug")));
    const std::string trouble = junitText(withTrouble());
    EXPECT_THAT(trouble, HasSubstr("tests=\"3\" failures=\"1\" errors=\"1\""));
    EXPECT_THAT(trouble, HasSubstr("<failure message=\"it does not stand ?there\">a.sim:3:1: not met"));
    EXPECT_THAT(trouble,
                HasSubstr("<error message=\"nothing is plugged in\">a.sim:4:1: nothing is plugged in\n"));
    EXPECT_THAT(trouble, HasSubstr("line 3: expect &quot;&lt;a &amp; b&gt;&quot; in x within 1s"));
}
