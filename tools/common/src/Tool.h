#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace Zevo {

/// The exit statuses of all tools.
enum ExitStatus { FINE = 0, PROBLEMS_FOUND = 1, WRONG_USAGE = 2 };

/// Thrown if an argument turns out to be wrong only after the parser has accepted it.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// "NAME VERSION", as --version prints it.
std::string versionText(const std::string& toolName);

/// Runs a tool: adds --version, parses the command line, calls `work`.
///
/// @param app   the tool's options and subcommands; its name precedes error messages
/// @param work  called once the command line is parsed; its result becomes the status
/// @return FINE for --help and --version; WRONG_USAGE, with the reason on standard error, for a command line
///         that is not understood and for a UsageError; PROBLEMS_FOUND, with the reason, for every other
///         exception that leaves work, and if standard output could not be written
int runTool(CLI::App& app, int argumentCount, const char* const* arguments,
            const std::function<ExitStatus()>& work);

} // namespace Zevo
