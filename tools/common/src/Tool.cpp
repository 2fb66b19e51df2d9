#include "Tool.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

namespace Zevo {
namespace {

int complain(const CLI::App& app, const std::string& what, ExitStatus status) {
    std::cerr << app.get_name() << ": " << what << '\n';
    return status;
}

int parseAndWork(CLI::App& app, int argumentCount, const char* const* arguments,
                 const std::function<ExitStatus()>& work) {
    try {
        app.parse(argumentCount, arguments);
        return work();
    } catch (const CLI::Success& helpOrVersion) {
        return app.exit(helpOrVersion, std::cout, std::cerr);
    } catch (const CLI::ParseError& problem) {
        complain(app, problem.what(), WRONG_USAGE);
        std::cerr << "Try: " << app.get_name() << " --help\n";
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
    app.set_help_flag("-h,--help", "Print this help and end");
    const int status = parseAndWork(app, argumentCount, arguments, work);
    // Whoever reads the result of a script must learn that half of it is missing.
    errno = 0;
    std::cout.flush();
    if (!std::cout || std::fflush(stdout) != 0 || std::ferror(stdout))
        return complain(app, std::string("cannot write to standard output: ") + std::strerror(errno),
                        PROBLEMS_FOUND);
    return status;
}

} // namespace Zevo
