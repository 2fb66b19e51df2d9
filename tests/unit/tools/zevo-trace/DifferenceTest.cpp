#include "Difference.h"

#include "TraceFiles.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Zevo::Parting;
using Zevo::Step;

namespace {

/// Steps from lines: "a" is a call, "  b" a call inside it, "  >x" a message.
Zevo::Steps stepsOf(const std::vector<std::string>& lines) {
    auto next = std::make_shared<std::size_t>(0);
    return [lines, next]() -> std::optional<Step> {
        if (*next == lines.size())
            return std::nullopt;
        const std::string& line = lines[(*next)++];
        const std::string::size_type margin = line.find_first_not_of(' ');
        Step step;
        step.depth = static_cast<std::uint32_t>(margin / 2);
        step.isMessage = line[margin] == '>';
        step.level = step.isMessage ? 'D' : '\0';
        step.text = line.substr(margin + (step.isMessage ? 1 : 0));
        return step;
    };
}

std::optional<Parting> partingOf(const std::vector<std::string>& good, const std::vector<std::string>& bad) {
    return findParting(stepsOf(good), stepsOf(bad));
}

} // namespace

TEST(DifferenceTest, NoneBetweenEqualTrees) {
    EXPECT_FALSE(partingOf({"a", "  >x", "  b"}, {"a", "  >x", "  b"}).has_value());
    std::string text;
    tell(std::nullopt, Zevo::Colours(false), [&](std::string_view part) { text += part; });
    EXPECT_EQ(text, "The call trees are the same, and so are the messages.\n");
}

TEST(DifferenceTest, TheFirstCallThatDiffersAndWhereItIs) {
    const auto parting =
        partingOf({"a", "  b", "    c", "  d", "    e"}, {"a", "  b", "    c", "  d", "    f"});
    ASSERT_TRUE(parting.has_value());
    EXPECT_EQ(parting->steps, 4u);
    EXPECT_EQ(parting->good->text, "e");
    EXPECT_EQ(parting->bad->text, "f");
    ASSERT_THAT(parting->common, SizeIs(2));
    EXPECT_EQ(parting->common[0].text, "a");
    EXPECT_EQ(parting->common[1].text, "d") << "b and c have returned";
}

TEST(DifferenceTest, AnotherDepthIsADifference) {
    const auto parting = partingOf({"a", "  b", "    c"}, {"a", "  b", "  c"});
    ASSERT_TRUE(parting.has_value());
    EXPECT_EQ(parting->steps, 2u);
}

TEST(DifferenceTest, ATraceThatEndsBefore) {
    const auto parting = partingOf({"a", "  b"}, {"a"});
    ASSERT_TRUE(parting.has_value());
    EXPECT_EQ(parting->good->text, "b");
    EXPECT_FALSE(parting->bad.has_value());
    EXPECT_TRUE(jsonOf(parting)["bad"].is_null());
}

TEST(DifferenceTest, MessagesThatDifferOnTheWay) {
    const auto parting = partingOf({"a", "  >one", "  b"}, {"a", "  >two", "  >three", "  b"});
    ASSERT_TRUE(parting.has_value());
    EXPECT_FALSE(parting->good.has_value());
    EXPECT_EQ(parting->differentMessages, 2u);
    EXPECT_EQ(parting->messages[0].first.text, "one");
    EXPECT_EQ(parting->messages[0].second.text, "two");
    EXPECT_EQ(parting->messages[1].first.level, 0);
}

TEST(DifferenceTest, AddressesInMessagesAreNoDifference) {
    EXPECT_FALSE(partingOf({"a", "  >on [61aaab40] root"}, {"a", "  >on [71bbcc50] root"}).has_value());
    EXPECT_TRUE(partingOf({"a", "  >on [one]"}, {"a", "  >on [two]"}).has_value());
}

TEST(DifferenceTest, ManyMessagesAreCountedNotListed) {
    std::vector<std::string> good = {"a"}, bad = {"a"};
    for (int i = 0; i < 100; ++i) {
        good.push_back("  >x");
        bad.push_back("  >y");
    }
    const auto parting = partingOf(good, bad);
    EXPECT_EQ(parting->differentMessages, 100u);
    EXPECT_THAT(parting->messages, SizeIs(5));
}

TEST(DifferenceTest, SlowerCallsTheLargestDifferenceFirst) {
    TraceFiles files;
    const auto summaryOf = [&](const std::string& name, int a, int b) {
        const auto time = [](int ms) {
            char text[32];
            std::snprintf(text, sizeof text, "10:00:00-%03d", ms);
            return std::string(text);
        };
        files.write(name,
                    traceLine(time(0), "a") + traceLine(time(a), "| <- a") + traceLine(time(a), "b") +
                        traceLine(time(a + b), "| <- b") + traceLine(time(a + b), "c") +
                        traceLine(time(a + b), "| <- c"),
                    at(10, 0, 1));
        auto summary = std::make_unique<Zevo::Summary>();
        readLines({files / name}, [&](const Zevo::JournalLine& line) { summary->add(line); });
        summary->finish();
        return summary;
    };
    const auto good = summaryOf("good_0.txt", 10, 10), bad = summaryOf("bad_0.txt", 12, 50);
    const std::vector<Zevo::Slower> slower = findSlower(*good, *bad);
    ASSERT_THAT(slower, SizeIs(2));
    EXPECT_EQ(slower[0].call, "b");
    EXPECT_EQ(slower[0].badMean, 50);
    EXPECT_EQ(slower[1].call, "a");
    EXPECT_THAT(findSlower(*bad, *good), IsEmpty());
}
