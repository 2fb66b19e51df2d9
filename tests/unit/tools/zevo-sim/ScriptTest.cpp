#include "Script.h"

#include "FindingText.h"
#include "Modems.h"
#include "TemporaryFolder.h"
#include "TextFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;
using namespace Zevo;
using std::chrono::milliseconds;
using Kind = Step::Kind;

namespace {

Script read(const std::string& text, const std::map<std::string, std::string>& variables = {}) {
    const TemporaryFolder folder;
    writeFile(folder / "a.sim", text);
    return readScript(folder / "a.sim", variables, someModems());
}

Step onlyStep(const std::string& text) {
    const Script script = read(text + "\n");
    for (const Finding& finding : script.findings)
        ADD_FAILURE() << sentence(finding, Colours(false));
    EXPECT_EQ(script.steps.size(), 1u);
    return script.steps.empty() ? Step() : script.steps.front();
}

/// Line, column, length and kind of the only mistake, and the suggestion.
std::string mistake(const std::string& text) {
    const Script script = read(text);
    if (script.findings.size() != 1)
        return std::to_string(script.findings.size()) + " mistakes";
    const Finding& finding = script.findings.front();
    EXPECT_FALSE(finding.wrong.empty());
    EXPECT_FALSE(finding.expected.empty());
    return std::to_string(finding.place.line) + ":" + std::to_string(finding.place.column) + "+" +
           std::to_string(finding.place.length) + " " + finding.id +
           (finding.meant.empty() ? "" : " " + finding.meant);
}

} // namespace

TEST(Script, ReadsEvents) {
    const Step plug = onlyStep("plug 12d1:1446 at 1-2.3 switch-to 12d1:1406 after 1.5s  # later");
    EXPECT_EQ(plug.kind, Kind::plug);
    EXPECT_EQ(plug.port, "1-2.3");
    EXPECT_EQ(shortIdentifier(plug.modem.cdRom), "12d1:1446");
    EXPECT_EQ(shortIdentifier(plug.modem.modem), "12d1:1406");
    EXPECT_EQ(plug.after, milliseconds(1500));
    EXPECT_EQ(plug.text, "plug 12d1:1446 at 1-2.3 switch-to 12d1:1406 after 1.5s");
    EXPECT_FALSE(onlyStep("plug \"huawei e220\"").after.has_value());

    EXPECT_FALSE(onlyStep("switch-to").next.has_value());
    EXPECT_EQ(onlyStep("switch-to at 1-1").port, "1-1");
    EXPECT_EQ(shortIdentifier(*onlyStep("switch-to 12d1:1001").next), "12d1:1001");
    EXPECT_EQ(onlyStep("unplug 1-1").port, "1-1");
    EXPECT_EQ(onlyStep("unplug all").kind, Kind::unplugAll);
    EXPECT_THAT(onlyStep("unplug 12d1:1446").ids, ElementsAre("12d1:1446", "12d1:1001"));
    EXPECT_EQ(onlyStep("storm feed:0001 count 1000").count, 1000u);
    EXPECT_EQ(onlyStep("wait 2 s").time, milliseconds(2000));
    EXPECT_EQ(onlyStep("say \"a # b\"").words, "a # b");
    EXPECT_EQ(onlyStep("start program").kind, Kind::start);
    EXPECT_EQ(onlyStep("stop").kind, Kind::stop);
}

TEST(Script, ReadsExpectations) {
    const Step started = onlyStep("expect application started within 1 s");
    EXPECT_EQ(started.kind, Kind::expectStarted);
    EXPECT_EQ(started.bundle, "/Applications/Quillmarsh.app");
    EXPECT_EQ(started.time, milliseconds(1000));
    EXPECT_EQ(onlyStep("expect notifier running").bundle,
              "/Applications/Quillmarsh.app/Contents/MacOS/Murmel.app");
    EXPECT_EQ(onlyStep("expect \"/Applications/Other One.app\" not running within 2s").bundle,
              "/Applications/Other One.app");
    EXPECT_EQ(onlyStep("expect notifier not running").kind, Kind::expectNotRunning);
    EXPECT_EQ(onlyStep("expect nothing started for 500ms").kind, Kind::expectNothingStarted);
    EXPECT_EQ(onlyStep("expect program ended with status 3 within 5s").status, 3);
    EXPECT_FALSE(onlyStep("expect program ended within 1min").status.has_value());
    const Step text = onlyStep("expect \"/a path\" in /tmp/trace_0.txt within 1s");
    EXPECT_EQ(text.kind, Kind::expectText);
    EXPECT_EQ(text.words, "/a path");
    EXPECT_EQ(text.file, "/tmp/trace_0.txt");
}

TEST(Script, EmptyLinesAndCommentsAreNoStatements) {
    const Script script = read("# nothing\n\n   \t\n  # nothing\n");
    EXPECT_THAT(script.steps, IsEmpty());
    EXPECT_THAT(script.findings, IsEmpty());
}

TEST(Script, VariablesStandForTheirValuesAndAreSetFromOutside) {
    const std::string text =
        "let cdrom = 12d1:1446\nlet who = \"Mr. X\"\nplug $cdrom\nsay \"$who plugs $cdrom, for $5\"\n";
    const Script script = read(text);
    ASSERT_THAT(script.findings, testing::SizeIs(1)); // $5
    EXPECT_EQ(script.findings[0].place.line, 4);
    EXPECT_EQ(script.findings[0].place.column, 29);
    const Script other =
        read("let cdrom = 12d1:1446\nplug $cdrom\nsay \"in $cdrom, $ and $$\"\n", {{"cdrom", "19d2:2000"}});
    ASSERT_EQ(other.steps.size(), 2u);
    EXPECT_EQ(shortIdentifier(other.steps[0].modem.first()), "19d2:2000");
    EXPECT_EQ(other.steps[0].text, "plug 19d2:2000");
    EXPECT_EQ(other.steps[1].words, "in 19d2:2000, $ and $$");
}

TEST(Script, EveryMistakeIsToldWithItsPlaceAndWhatWasMeant) {
    EXPECT_EQ(mistake("plg 12d1:1446\n"), "1:1+3 script-word-unknown plug");
    EXPECT_EQ(mistake("# x\n\tplug 12d1:14466\n"), "2:7+10 script-device");
    EXPECT_EQ(mistake("plug 12d1:1446 at 1-0\n"), "1:19+3 script-port");
    EXPECT_EQ(mistake("plug 12d1:1446 on 1-1\n"), "1:16+2 script-too-much");
    EXPECT_EQ(mistake("plug\n"), "1:5+1 script-too-little");
    EXPECT_EQ(mistake("plug 12d1:1446 switch-to 12d1:1001\n"), "1:35+1 script-too-little");
    EXPECT_EQ(mistake("wait 5 parsecs\n"), "1:6+1 script-time");
    EXPECT_EQ(mistake("wait \"2s\"\n"), "1:6+4 script-time");
    EXPECT_EQ(mistake("storm feed:0001 count 0x10\n"), "1:23+4 script-number");
    EXPECT_EQ(mistake("expect aplication started within 1s\n"), "1:8+10 script-word-unknown application");
    EXPECT_EQ(mistake("expect application startet within 1s\n"), "1:20+7 script-word-unknown started");
    EXPECT_EQ(mistake("expect application started\n"), "1:27+1 script-too-little");
    EXPECT_EQ(mistake("expect program ended with status 256 within 1s\n"), "1:34+3 script-number");
    EXPECT_EQ(mistake("say \"open\n"), "1:5+5 script-quote-open");
    EXPECT_EQ(mistake("say $nobody\n"), "1:5+7 script-variable-unknown");
    EXPECT_EQ(mistake("let cdrom = 1\nsay \"x $cdrm\"\n"), "2:8+5 script-variable-unknown cdrom");
    EXPECT_EQ(mistake("let 1st = x\n"), "1:5+3 script-variable-name");
    EXPECT_EQ(mistake("let x y\n"), "1:7+1 script-word-unknown");
    EXPECT_EQ(mistake("let x = y z\n"), "1:11+1 script-too-much");
}

TEST(Script, AllMistakesAreTold) {
    EXPECT_EQ(read("plg\nwait\nplug 12d1:1446\nexpect\n").findings.size(), 3u);
}

TEST(Script, AMissingFileIsTold) {
    const Script script = readScript("/no/such.sim", {}, {});
    ASSERT_EQ(script.findings.size(), 1u);
    EXPECT_EQ(sentence(script.findings[0], Colours(false)), "/no/such.sim: there is no such file\n");
}

TEST(Script, TimesHaveAUnitAndAnEnd) {
    EXPECT_EQ(durationIn("500ms"), milliseconds(500));
    EXPECT_EQ(durationIn("1.25s"), milliseconds(1250));
    EXPECT_EQ(durationIn("0.5min"), milliseconds(30000));
    EXPECT_EQ(durationIn("1440min"), milliseconds(86400000));
    for (const char* const text : {"", "5", "-1s", "1h", "1441min", "99999999999s", "1.s", "s", "1 s 2"})
        EXPECT_FALSE(durationIn(text).has_value()) << text;
    EXPECT_EQ(shownDuration(milliseconds(999)), "999 ms");
    EXPECT_EQ(shownDuration(milliseconds(1500)), "1.5 s");
}

TEST(Script, VariablesMadeOfVariablesCannotFillTheMemory) {
    std::string text = "let a = 0123456789\n";
    for (char name = 'a'; name < 'z'; ++name)
        text += std::string("let ") + static_cast<char>(name + 1) + " = \"" + std::string("$") + name + "$" +
                name + "$" + name + "$" + name + "\"\n";
    const Script script = read(text + "say $z\n");
    ASSERT_FALSE(script.findings.empty());
    EXPECT_EQ(script.findings.front().id, "script-line-long");
    EXPECT_EQ(script.findings.front().place.line, 6);
    EXPECT_EQ(mistake("let a = " + std::string(8190, 'x') + "\n"), "1:9+8190 script-line-long");
}

TEST(Script, TimesAndNamesOfAnyLengthAreRead) {
    EXPECT_EQ(mistake("wait \"1" + std::string(8000, ' ') + "s\"\n"), "1:6+8004 script-time");
    EXPECT_EQ(mistake("let " + std::string(8000, 'n') + " = 1\nlet 1n = 1\n"), "2:5+2 script-variable-name");
}

TEST(Script, AZeroByteIsTold) {
    EXPECT_EQ(mistake(std::string("plug \0.modem\n", 13)), "1:6+1 script-zero-byte");
}
