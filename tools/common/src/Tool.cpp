#include "Tool.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

namespace Zevo {
namespace {

const char HELP[] = "Print this help and end";

int complain(const CLI::App& app, const std::string& what, ExitStatus status) {
    std::cerr << app.get_name() << ": " << what << '\n';
    return status;
}

// The command with the chosen subcommand, if any: "zevo-check fix".
std::string chosenCommand(const CLI::App& app) {
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    return app.get_name() + (chosen.empty() ? "" : " " + chosen.front()->get_name());
}

std::string problemText(const CLI::App& app, const CLI::ParseError& problem) {
    // Otherwise a word that is not a subcommand would be reported as a missing subcommand.
    const std::vector<std::string> words = app.remaining();
    if (app.get_require_subcommand_min() > 0 && app.get_subcommands().empty() && !words.empty())
        return "there is no subcommand " + words.front();
    return problem.what();
}

int parseAndWork(CLI::App& app, int argumentCount, const char* const* arguments,
                 const std::function<ExitStatus()>& work) {
    try {
        app.parse(argumentCount, arguments);
        return work();
    } catch (const CLI::Success& helpOrVersion) {
        return app.exit(helpOrVersion, std::cout, std::cerr);
    } catch (const CLI::ParseError& problem) {
        complain(app, problemText(app, problem), WRONG_USAGE);
        std::cerr << "Try: " << chosenCommand(app) << " --help\n";
        return WRONG_USAGE;
    } catch (const UsageError& problem) {
        return complain(app, problem.what(), WRONG_USAGE);
    } catch (const std::exception& problem) {
        return complain(app, problem.what(), PROBLEMS_FOUND);
    }
}

} // namespace

std::string versionText(const std::string& toolName) {
    return toolName + " " + ZEVO_VERSION;
}

int runTool(CLI::App& app, int argumentCount, const char* const* arguments,
            const std::function<ExitStatus()>& work) {
    app.set_version_flag("--version", versionText(app.get_name()), "Print the version and end");
    app.set_help_flag("-h,--help", HELP);
    for (CLI::App* const subcommand : app.get_subcommands({}))
        subcommand->set_help_flag("-h,--help", HELP);
    const int status = parseAndWork(app, argumentCount, arguments, work);
    // A script that reads the result must notice that half of it is missing.
    errno = 0;
    std::cout.flush();
    if (!std::cout || std::fflush(stdout) != 0 || std::ferror(stdout))
        // An earlier loss has left no errno.
        return complain(app,
                        "cannot write to standard output" +
                            (errno != 0 ? std::string(": ") + std::strerror(errno) : std::string()),
                        PROBLEMS_FOUND);
    return status;
}

} // namespace Zevo
