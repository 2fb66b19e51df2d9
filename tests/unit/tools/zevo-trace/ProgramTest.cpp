#include "Bundle.h"
#include "JsonSchema.h"
#include "TextFile.h"
#include "TraceFiles.h"
#include "WaitUntil.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

struct Result {
    int status;
    std::string output;
    std::string complaints;
};

class ProgramTest : public ::testing::Test {
protected:
    ProgramTest() {
        m_files.write(
            "trace_0.txt",
            traceLine("10:00:00-000", "ZevoLauncher::Main") +
                traceLine("10:00:00-001", "| >> [D] Configured : modem = a, cdrom = b, to be found = c") +
                traceLine("10:00:00-002", "| work") + traceLine("10:00:00-003", "| | <- work") + "???\n",
            at(10, 0, 1));
    }
    /// Runs the program through a shell, so that the words can have quotes and redirections.
    Result run(const std::string& words) {
        const std::string command = "cd " + m_files.path() + " && XDG_DATA_HOME=" + m_files.path() +
                                    "/data " + ZEVO_TRACE_PROGRAM + " " + words + " 2>" +
                                    (m_files / "complaints");
        std::FILE* const pipe = popen(command.c_str(), "r");
        std::string output;
        char part[4096];
        for (std::size_t length = 0; (length = std::fread(part, 1, sizeof part, pipe)) != 0;)
            output.append(part, length);
        const int status = pclose(pipe);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output, textOf("complaints")};
    }
    std::string textOf(const std::string& name) {
        std::ifstream file(m_files / name);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    TraceFiles m_files;
};

} // namespace

TEST_F(ProgramTest, TellsItsVersionAndItsHelp) {
    EXPECT_THAT(run("--version").output, HasSubstr("zevo-trace "));
    const Result help = run("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, HasSubstr("Exit status: 0 all is fine, 1 problems found, 2 wrong usage."));
    for (const char* const command : {"show", "why", "summary", "diff", "crash", "export", "view"}) {
        EXPECT_THAT(help.output, HasSubstr(command));
        EXPECT_EQ(run(std::string(command) + " --help").status, 0);
    }
}

TEST_F(ProgramTest, WrongUsageHasItsOwnStatus) {
    for (const char* const words :
         {"", "shows", "show --colour", "show --from noon .", "show --level errors .", "why --run 0 .",
          "why --run 9 .", "diff .", "diff - .", "export .", "export --chrome --speedscope .",
          "summary --run 7 .", "diff --thread nobody . .", "view .", "view --run 7 --out page.html ."})
        EXPECT_EQ(run(words).status, 2) << words;
}

TEST_F(ProgramTest, WhatCannotBeReadIsAProblem) {
    const Result result = run("show nowhere");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.complaints, "zevo-trace: nowhere: cannot be read: No such file or directory\n");
    for (const char* const form : {"--chrome", "--speedscope", "--json-lines"})
        EXPECT_EQ(run(std::string("export ") + form + " nowhere").output, "") << form;
}

TEST_F(ProgramTest, WithoutAPathTheUsersLogFolderIsRead) {
    EXPECT_EQ(run("show").status, 1);
    EXPECT_THAT(run("why").complaints, AllOf(HasSubstr("/data/Ferrow/*/Logs"), HasSubstr("ID.txt")));
    ASSERT_EQ(std::system(("mkdir -p '" + m_files.path() + "/data/Ferrow/code/Logs' && cp -p '" +
                           m_files.path() + "/trace_0.txt' '" + m_files.path() + "/data/Ferrow/code/Logs'")
                              .c_str()),
              0);
    const Result result = run("show");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("ZevoLauncher::Main"));
}

TEST_F(ProgramTest, AnEmptyFolderIsExplained) {
    ASSERT_EQ(std::system(("mkdir '" + m_files.path() + "/empty'").c_str()), 0);
    const Result result = run("why empty");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.complaints, HasSubstr("no trace and no log in empty"));
}

TEST_F(ProgramTest, ShowsFoldersFilesAndStandardInput) {
    const std::string text = textOf("trace_0.txt");
    EXPECT_EQ(run("show .").output, text);
    EXPECT_EQ(run("show trace_0.txt").output, text);
    EXPECT_EQ(run("show - <trace_0.txt").output, text);
}

TEST_F(ProgramTest, EveryCommandReadsBundles) {
    struct stat status = {};
    ASSERT_EQ(stat((m_files / "trace_0.txt").c_str(), &status), 0);
    Zevo::writeBundle(
        m_files / "ticket.tar.gz",
        {{"manifest.txt", "all\n", 0}, {"logs/trace_0.txt", textOf("trace_0.txt"), status.st_mtim.tv_sec}});
    EXPECT_EQ(run("show ticket.tar.gz").output, textOf("trace_0.txt"));
    EXPECT_EQ(run("diff trace_0.txt ticket.tar.gz").status, 0);
    for (const char* const command : {"why", "summary", "crash", "export --json-lines"})
        EXPECT_EQ(run(std::string(command) + " ticket.tar.gz").output,
                  run(std::string(command) + " trace_0.txt").output)
            << command;
    EXPECT_EQ(run("view ticket.tar.gz --out page.html").status, 0);
    const Result followed = run("show -f ticket.tar.gz");
    EXPECT_EQ(followed.status, 2);
    EXPECT_THAT(followed.complaints, HasSubstr("a bundle cannot be followed"));
    const Result piped = run("show - <ticket.tar.gz");
    EXPECT_EQ(piped.status, 1);
    EXPECT_THAT(piped.complaints, HasSubstr("standard input is packed; give the bundle by its name"));
}

TEST_F(ProgramTest, TornLinesAreNotedOnStandardError) {
    const Result result = run("show --call work .");
    EXPECT_THAT(result.complaints, HasSubstr("trace_0.txt:5: the line is torn"));
    EXPECT_THAT(result.output, Not(HasSubstr("torn")));
}

TEST_F(ProgramTest, OptionsTakeOneWordEach) {
    EXPECT_THAT(run("show --text WORK .").output, AllOf(HasSubstr("| work\n"), Not(HasSubstr("Main"))));
    EXPECT_THAT(run("show --call=-work --level debug .").output, HasSubstr("Configured"));
    EXPECT_THAT(run("show --hide work --text work .").output, Not(HasSubstr("work")));
}

TEST_F(ProgramTest, JsonIsAllThatStandsOnStandardOutput) {
    EXPECT_EQ(nlohmann::json::parse(run("why --json .").output)["runs"][0]["run"], 1);
    EXPECT_EQ(nlohmann::json::parse(run("summary --json .").output)["calls"].size(), 2u);
    EXPECT_TRUE(nlohmann::json::parse(run("crash --json .").output)["reports"].empty());
    EXPECT_TRUE(nlohmann::json::parse(run("diff --json . .").output)["parting"].is_null());
    EXPECT_TRUE(nlohmann::json::parse(run("export --chrome .").output).contains("traceEvents"));
    EXPECT_TRUE(nlohmann::json::parse(run("export --speedscope .").output).contains("profiles"));
    EXPECT_THAT(run("export --json-lines --machine kiosk-7 .").output,
                HasSubstr("{\"machine\":\"kiosk-7\",\"run\":1,"));
}

TEST_F(ProgramTest, ViewWritesAPageAndNoFileOver) {
    const Result result = run("view . --out page.html");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.complaints, Not(HasSubstr("page")));
    EXPECT_EQ(result.output, "");
    const std::string page = textOf("page.html");
    EXPECT_THAT(page, AllOf(HasSubstr("speedscope"), HasSubstr("</html>")));
    const Result again = run("view . --out page.html");
    EXPECT_EQ(again.status, 2);
    EXPECT_EQ(again.complaints, "zevo-trace: page.html is there already; give another file\n");
    EXPECT_EQ(textOf("page.html"), page);
}

TEST_F(ProgramTest, ViewLeavesNothingBehindWhereThereIsNothingToShow) {
    m_files.write("log_0.txt", "[10:00:00-000][LEVEL_0] Starting\n", at(10, 0, 0));
    const Result result = run("view log_0.txt --out page.html");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.complaints, HasSubstr("there is no call to show"));
    EXPECT_NE(0, access((m_files / "page.html").c_str(), F_OK));
}

TEST_F(ProgramTest, StatusesTellWhatWasFound) {
    EXPECT_EQ(run("why .").status, 1) << "nothing was started";
    EXPECT_EQ(run("crash .").status, 0);
    EXPECT_EQ(run("diff . .").status, 0);
    EXPECT_EQ(run("summary .").status, 0);
    m_files.write("crashed.txt",
                  traceLine("10:00:00-000", "a") + traceLine("10:00:00-001", "| SIGNAL_FILTER") +
                      traceLine("10:00:00-001", "| | >> [E] SIGNAL_ABORT"),
                  at(10, 0, 1));
    EXPECT_EQ(run("crash crashed.txt").status, 1);
    EXPECT_EQ(run("diff . crashed.txt").status, 1);
}

TEST_F(ProgramTest, ALastRunIsComparedAndTold) {
    m_files.write("trace_1.txt", traceLine("09:00:00-000", "ZevoLauncher::Main", 3), at(9, 0, 1));
    const std::string all = run("show .").output;
    EXPECT_THAT(all, AllOf(HasSubstr("==== run 2, 2026-01-15\n"), HasSubstr("[th_3    ]")));
    EXPECT_THAT(run("show --run 2 .").output, Not(HasSubstr("[th_3    ]")));
    EXPECT_EQ(nlohmann::json::parse(run("why --json .").output)["runs"][0]["run"], 2);
    EXPECT_EQ(nlohmann::json::parse(run("why --json --all .").output)["runs"].size(), 2u);
    EXPECT_EQ(run("diff . trace_0.txt").status, 0);
}

TEST_F(ProgramTest, NoColoursInAFile) {
    EXPECT_THAT(run("show .").output, Not(HasSubstr("\033")));
    EXPECT_THAT(run("why .").output, Not(HasSubstr("\033")));
}

TEST_F(ProgramTest, FollowsWhatIsWritten) {
    const std::string command =
        std::string("exec ") + ZEVO_TRACE_PROGRAM + " show -f --call work " + m_files.path() + " 2>&1";
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t program = fork();
    if (program == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    close(ends[1]);
    std::FILE* const output = fdopen(ends[0], "r");
    const auto nextLine = [&] {
        char line[512] = {};
        return std::fgets(line, sizeof line, output) != nullptr ? std::string(line) : std::string();
    };
    std::string line = nextLine(); // fully buffered until the existing lines are shown
    while (!line.empty() && line.find("<- work") == std::string::npos)
        line = nextLine();
    // The program may not have reached the end of the file yet; either way it must show the line that is
    // written now.
    std::ofstream(m_files / "trace_0.txt", std::ios::app) << traceLine("10:00:01-000", "| work");
    while (!line.empty() && line.find("10:00:01-000") == std::string::npos)
        line = nextLine();
    EXPECT_EQ(line, traceLine("10:00:01-000", "| work"));
    kill(program, SIGTERM);
    waitpid(program, nullptr, 0);
    std::fclose(output);
}

TEST_F(ProgramTest, AnEmptyTraceHasEveryReasonTold) {
    m_files.write("trace_0.txt", "", at(10, 0, 1));
    const Result result = run("why .");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.complaints,
                AllOf(HasSubstr("did not run with this folder"), HasSubstr("switches both off"),
                      HasSubstr("hides every thread or call"),
                      HasSubstr("a syntax error in the trace's configuration ended it")));
}

TEST_F(ProgramTest, ALogAloneDoesNotTellWhy) {
    m_files.write("trace_0.txt", "", at(10, 0, 1));
    m_files.write("log_0.txt", "[10:00:00-001][LEVEL_0]  * Product Name : Quillmarsh\n", at(10, 0, 1));
    const Result result = run("why .");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.complaints, HasSubstr("no trace in ., only a log, which does not tell: "));
}

TEST_F(ProgramTest, CtrlCLeavesNoPartOfAParquetFile) {
    // Replaces the program that writes Parquet: it has begun, and never ends.
    m_files.write("node", "#!/bin/sh\ntrap '' INT\necho $$ > writer\necho half > \"$3\"\nexec sleep 1000\n",
                  at(10, 0, 1));
    chmod((m_files / "node").c_str(), 0700);
    ASSERT_EQ(mkfifo((m_files / "input").c_str(), 0600), 0);
    const pid_t program = fork();
    if (program == 0) {
        const std::string path = m_files.path() + ":" + std::getenv("PATH");
        const int input = open((m_files / "input").c_str(), O_RDWR); // it never ends
        if (chdir(m_files.path().c_str()) == 0 && dup2(input, STDIN_FILENO) == 0 &&
            setenv("PATH", path.c_str(), 1) == 0)
            execl(ZEVO_TRACE_PROGRAM, "zevo-trace", "export", "--parquet", "events.parquet", "-", nullptr);
        _exit(99);
    }
    EXPECT_TRUE(waitUntil([&] { return textOf("events.parquet.part") == "half\n"; }));
    const pid_t writer = std::stoi(textOf("writer"));
    kill(program, SIGINT);
    int status = 0;
    ASSERT_EQ(waitpid(program, &status, 0), program);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << status;
    EXPECT_NE(0, access((m_files / "events.parquet.part").c_str(), F_OK));
    EXPECT_NE(0, kill(writer, 0));
}

TEST_F(ProgramTest, ABombIsNoBundle) {
    std::vector<Zevo::BundleEntry> entries;
    for (int i = 0; i <= 1000; ++i)
        entries.push_back({"logs/file_" + std::to_string(i) + ".txt", "", 0});
    Zevo::writeBundle(m_files / "bomb.tar.gz", entries);
    const Result result = run("why bomb.tar.gz");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.complaints,
              "zevo-trace: bomb.tar.gz: holds more than 1000 files; unpack what is needed of it, and name "
              "the folder\n");
}

TEST_F(ProgramTest, EveryOptionIsInTheManualAndInTheCompletions) {
    const std::string folder = ZEVO_TRACE_FOLDER;
    const auto contentOf = [](const std::string& path) {
        std::ifstream file(path);
        return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    };
    std::string manual = contentOf(folder + "/zevo-trace.1");
    for (std::string::size_type at = 0; (at = manual.find("\\-", at)) != std::string::npos;)
        manual.erase(at, 1);
    const std::string bash = contentOf(folder + "/completions/zevo-trace.bash");
    const std::string zsh = contentOf(folder + "/completions/_zevo-trace");
    const std::string fish = contentOf(folder + "/completions/zevo-trace.fish");
    std::size_t options = 0;
    for (const std::string command : {"show", "why", "summary", "diff", "crash", "export", "view"}) {
        const std::string help = run(command + " --help").output;
        for (std::string::size_type at = 0; (at = help.find("--", at)) != std::string::npos; at += 2) {
            const std::string::size_type end = help.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", at);
            const std::string option = help.substr(at, end - at);
            ++options;
            EXPECT_THAT(manual, HasSubstr(option)) << command;
            EXPECT_THAT(bash, HasSubstr(option)) << command;
            EXPECT_THAT(zsh, HasSubstr(option)) << command;
            EXPECT_THAT(fish, HasSubstr("-l " + option.substr(2))) << command;
        }
    }
    EXPECT_GT(options, 25u);
}

TEST_F(ProgramTest, JsonIsAsItsSchemaDescribesIt) {
    m_files.write(
        "trace_0.txt",
        traceLine("10:00:00-000", "ZevoLauncher::Main") +
            traceLine("10:00:00-001",
                      "| >> [D] Configured : modem = USB#Vid_12d1&Pid_1001, cdrom = b, to be found = c") +
            traceLine("10:00:00-001", "| >> [D]  hardware id to be found : 1|2") +
            traceLine("10:00:00-002", "| >> [D] Connected device : 7531|2") +
            traceLine("10:00:01-002", "| >> [D] Detected hardware id : USB#Vid_12d1&Pid_1001") +
            traceLine("10:00:01-003", "| >> [D] Start executable : /A.app") +
            traceLine("10:00:01-004", "| >> [D] FSPathMakeRef failed : status = -43") +
            traceLine("10:00:01-005", "| work") + traceLine("10:00:01-006", "| | <- work") +
            traceLine("10:00:01-007", "| SIGNAL_FILTER") +
            traceLine("10:00:01-007", "| | >> [E] SIGNAL_ABORT") +
            "\n-------------- CALLSTACK --------------\n[th_7    ][MAIN           ]    [1] work\n"
            "---------------------------------------\n\n-------------- OBJECT(S) COUNT --------------\n"
            "Class = ZevoLauncher                  , count = 000001\n"
            "---------------------------------------------\n",
        at(10, 0, 2));
    m_files.write("other.txt",
                  traceLine("10:00:00-000", "ZevoLauncher::Main") + traceLine("10:00:00-001", "| other"),
                  at(10, 0, 1));
    m_files.write("log_0.txt",
                  "[10:00:00-001][LEVEL_0]  * Product Name : Quillmarsh\n[10:00:00-002][ERROR  ] trouble\n",
                  at(10, 0, 1));
    const JsonSchema schema(nlohmann::json::parse(readFile(ZEVO_TRACE_SCHEMA)));
    for (const auto& [name, words] :
         {std::pair("why", "why --json ."), std::pair("summary", "summary --json ."),
          std::pair("crash", "crash --json ."), std::pair("diff", "diff --json . other.txt")})
        schema.expectValid(nlohmann::json::parse(run(words).output), std::string("/$defs/") + name);
    std::istringstream lines(run("export --json-lines .").output);
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        schema.expectValid(nlohmann::json::parse(line), "/$defs/line");
    EXPECT_GT(count, 15u);
}
