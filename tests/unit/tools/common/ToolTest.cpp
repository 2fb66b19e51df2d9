#include "Tool.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <iostream>
#include <unistd.h>
#include <vector>

using ::testing::HasSubstr;
using ::testing::internal::CaptureStderr;
using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStderr;
using ::testing::internal::GetCapturedStdout;
using Zevo::ExitStatus;

namespace {

struct Result {
    int status;
    std::string output;
    std::string complaints;
};

/// Runs a tool with one option, --lines NUMBER.
Result runWith(std::vector<const char*> arguments, const std::function<ExitStatus()>& work) {
    CLI::App app("Counts lines.", "zevo-count");
    int lines = 0;
    app.add_option("--lines", lines, "How many");
    arguments.insert(arguments.begin(), "some/path/zevo-count");
    CaptureStdout();
    CaptureStderr();
    const int status = Zevo::runTool(app, static_cast<int>(arguments.size()), arguments.data(), work);
    return {status, GetCapturedStdout(), GetCapturedStderr()};
}

ExitStatus succeed() {
    return Zevo::FINE;
}

} // namespace

TEST(ToolTest, EndsAsItsWorkDoes) {
    EXPECT_EQ(runWith({}, succeed).status, 0);
    EXPECT_EQ(runWith({"--lines", "3"}, [] { return Zevo::PROBLEMS_FOUND; }).status, 1);
}

TEST(ToolTest, HelpAndVersionGoToStandardOutputAndAreFine) {
    const Result help = runWith({"--help"}, [] { return Zevo::PROBLEMS_FOUND; });
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, HasSubstr("Counts lines."));
    EXPECT_THAT(help.output, HasSubstr("--lines"));
    EXPECT_EQ(help.complaints, "");
    const Result version = runWith({"--version"}, [] { return Zevo::PROBLEMS_FOUND; });
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output, Zevo::versionText("zevo-count") + "\n");
}

TEST(ToolTest, WrongUsageIsToldOnStandardErrorOnly) {
    const Result result = runWith({"--line", "3"}, succeed);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.complaints, HasSubstr("zevo-count: "));
    EXPECT_THAT(result.complaints, HasSubstr("--line"));
    EXPECT_THAT(result.complaints, HasSubstr("Try: zevo-count --help"));
    EXPECT_EQ(runWith({"--lines", "many"}, succeed).status, 2);
}

namespace {

/// Runs a tool with two subcommands.
Result runWithSubcommands(std::vector<const char*> arguments) {
    CLI::App app("Counts lines.", "zevo-count");
    app.require_subcommand(1);
    app.add_subcommand("lines", "Count them");
    app.add_subcommand("words", "Count those");
    arguments.insert(arguments.begin(), "some/path/zevo-count");
    CaptureStdout();
    CaptureStderr();
    const int status = Zevo::runTool(app, static_cast<int>(arguments.size()), arguments.data(), succeed);
    return {status, GetCapturedStdout(), GetCapturedStderr()};
}

} // namespace

TEST(ToolTest, AWordThatIsNoSubcommandIsNamed) {
    EXPECT_EQ(runWithSubcommands({"lies"}).complaints,
              "zevo-count: there is no subcommand lies\nTry: zevo-count --help\n");
    EXPECT_EQ(runWithSubcommands({}).complaints,
              "zevo-count: A subcommand is required\nTry: zevo-count --help\n");
}

TEST(ToolTest, WrongUsageOfASubcommandLeadsToItsHelp) {
    EXPECT_THAT(runWithSubcommands({"lines", "--all"}).complaints,
                HasSubstr("\nTry: zevo-count lines --help\n"));
    EXPECT_THAT(runWithSubcommands({"lines", "--help"}).output, HasSubstr("Print this help and end"));
}

TEST(ToolTest, AnExceptionTellsItsReasonAndIsAProblem) {
    const Result result = runWith({}, []() -> ExitStatus { throw std::runtime_error("the disk is gone"); });
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.complaints, "zevo-count: the disk is gone\n");
}

TEST(ToolTest, AWrongWordThatShowsLateIsWrongUsageToo) {
    const Result result = runWith({}, []() -> ExitStatus { throw Zevo::UsageError("no such folder"); });
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.complaints, "zevo-count: no such folder\n");
}

TEST(ToolTest, AResultThatCannotBeWrittenIsAProblem) {
    const int kept = dup(STDOUT_FILENO);
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    CLI::App app("", "zevo-count");
    const char* const arguments[] = {"zevo-count"};
    CaptureStderr();
    dup2(full, STDOUT_FILENO);
    const int status = Zevo::runTool(app, 1, arguments, [] {
        std::fputs("3\n", stdout);
        return Zevo::FINE;
    });
    dup2(kept, STDOUT_FILENO);
    close(full);
    close(kept);
    std::clearerr(stdout);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(GetCapturedStderr(), "zevo-count: cannot write to standard output: No space left on device\n");
}

TEST(ToolTest, WhereTheReasonIsNotKnownNoneIsTold) {
    CLI::App app("", "zevo-count");
    const char* const arguments[] = {"zevo-count"};
    CaptureStderr();
    const int status = Zevo::runTool(app, 1, arguments, [] {
        std::cout.setstate(std::ios::badbit); // as after an earlier write to a pipe without a reader
        return Zevo::FINE;
    });
    std::cout.clear();
    EXPECT_EQ(status, 1);
    EXPECT_EQ(GetCapturedStderr(), "zevo-count: cannot write to standard output\n");
}
