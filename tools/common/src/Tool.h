#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <stdexcept>
#include <string>

namespace Zevo {

/// How every tool ends.
enum ExitStatus { FINE = 0, PROBLEMS_FOUND = 1, WRONG_USAGE = 2 };

/// Thrown where a wrong word of the command line shows only after the parser has passed it.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// "NAME VERSION", as --version prints it.
std::string versionText(const std::string& toolName);

/// The whole run of a tool: adds --version, parses, works.
///
/// @param app  the tool's options and subcommands; its name stands before what goes wrong
/// @param work is called once the command line is understood; its result becomes the status
/// @return FINE for --help and --version; WRONG_USAGE, with the reason on standard error, for a command line that is not
///         understood and for a UsageError; PROBLEMS_FOUND, with the reason, for every other exception that leaves
///         work, and when standard output could not be written
int runTool(CLI::App& app, int argumentCount, const char* const* arguments,
            const std::function<ExitStatus()>& work);

} // namespace Zevo
