#include "Tool.h"

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
    EXPECT_EQ(0, runWith({}, succeed).status);
    EXPECT_EQ(1, runWith({"--lines", "3"}, [] { return Zevo::PROBLEMS_FOUND; }).status);
}

TEST(ToolTest, HelpAndVersionGoToStandardOutputAndAreFine) {
    const Result help = runWith({"--help"}, [] { return Zevo::PROBLEMS_FOUND; });
    EXPECT_EQ(0, help.status);
    EXPECT_THAT(help.output, HasSubstr("Counts lines."));
    EXPECT_THAT(help.output, HasSubstr("--lines"));
    EXPECT_EQ("", help.complaints);
    const Result version = runWith({"--version"}, [] { return Zevo::PROBLEMS_FOUND; });
    EXPECT_EQ(0, version.status);
    EXPECT_EQ(Zevo::versionText("zevo-count") + "\n", version.output);
}

TEST(ToolTest, WrongUsageIsToldOnStandardErrorOnly) {
    const Result result = runWith({"--line", "3"}, succeed);
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("", result.output);
    EXPECT_THAT(result.complaints, HasSubstr("zevo-count: "));
    EXPECT_THAT(result.complaints, HasSubstr("--line"));
    EXPECT_THAT(result.complaints, HasSubstr("Try: zevo-count --help"));
    EXPECT_EQ(2, runWith({"--lines", "many"}, succeed).status);
}

namespace {

/// The same with a tool of two subcommands.
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
    EXPECT_EQ("zevo-count: there is no subcommand lies\nTry: zevo-count --help\n",
              runWithSubcommands({"lies"}).complaints);
    EXPECT_EQ("zevo-count: A subcommand is required\nTry: zevo-count --help\n",
              runWithSubcommands({}).complaints);
}

TEST(ToolTest, WrongUsageOfASubcommandLeadsToItsHelp) {
    EXPECT_THAT(runWithSubcommands({"lines", "--all"}).complaints,
                HasSubstr("\nTry: zevo-count lines --help\n"));
    EXPECT_THAT(runWithSubcommands({"lines", "--help"}).output, HasSubstr("Print this help and end"));
}

TEST(ToolTest, AnExceptionTellsItsReasonAndIsAProblem) {
    const Result result = runWith({}, []() -> ExitStatus { throw std::runtime_error("the disk is gone"); });
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("zevo-count: the disk is gone\n", result.complaints);
}

TEST(ToolTest, AWrongWordThatShowsLateIsWrongUsageToo) {
    const Result result = runWith({}, []() -> ExitStatus { throw Zevo::UsageError("no such folder"); });
    EXPECT_EQ(2, result.status);
    EXPECT_EQ("zevo-count: no such folder\n", result.complaints);
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
    EXPECT_EQ(1, status);
    EXPECT_EQ("zevo-count: cannot write to standard output: No space left on device\n", GetCapturedStderr());
}

TEST(ToolTest, WhereTheReasonIsNotKnownNoneIsTold) {
    CLI::App app("", "zevo-count");
    const char* const arguments[] = {"zevo-count"};
    CaptureStderr();
    const int status = Zevo::runTool(app, 1, arguments, [] {
        std::cout.setstate(std::ios::badbit); // as after a write, long ago, to a pipe that nobody reads
        return Zevo::FINE;
    });
    std::cout.clear();
    EXPECT_EQ(1, status);
    EXPECT_EQ("zevo-count: cannot write to standard output\n", GetCapturedStderr());
}
