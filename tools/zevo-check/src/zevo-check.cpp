// zevo-check: is this installation right?

#include "Check.h"
#include "LiveReport.h"
#include "Report.h"
#include "Tool.h"

#include "FileSystemManagement.h"

#include <iostream>

namespace {

using namespace Zevo;

const char FOOTER[] = "Exit status: 0 nothing wrong, 1 problems found, 2 wrong usage.\n"
                      "Without a folder: the one of the installed launcher, else the current one.";

std::string withSeparator(std::string folder) {
    if (!folder.empty() && folder.back() != '/')
        folder += '/';
    return folder;
}

// The launcher that was installed together with this program.
std::string installedFolder() {
    const std::string folder =
        FileSystemManagement::getCurrentExecutableDirectory() + ZEVO_LAUNCHER_FROM_HERE "/";
    return FileSystemManagement::existFile(folder + "ZevoLauncher") ? folder : std::string();
}

std::string chosenFolder(const std::string& given) {
    if (given.empty())
        return installedFolder();
    if (!FileSystemManagement::existFolder(given))
        throw UsageError("there is no folder " + given);
    return withSeparator(given);
}

void print(const nlohmann::ordered_json& json) {
    // File names may hold bytes that are no UTF-8.
    std::cout << json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

struct Wanted {
    std::string folder;
    bool json = false;
    bool live = false;
    bool withoutApplications = false;
};

ExitStatus checkFolder(const Wanted& wanted) {
    CheckOptions options;
    options.folder = chosenFolder(wanted.folder);
    options.withApplications = !wanted.withoutApplications;
    CheckResult result = checkInstallation(options);
    const Colours colours(takesColours(stdout));
    Live live;
    if (wanted.live)
        live = lookAtMachine(options, result);
    if (wanted.json) {
        nlohmann::ordered_json json = asJson(result, options);
        if (wanted.live)
            json["live"] = asJson(live);
        print(json);
    } else {
        std::cout << (wanted.live ? asText(live, colours) : "") << asText(result, options, colours);
    }
    return result.findings.empty() ? FINE : PROBLEMS_FOUND;
}

} // namespace

int main(int argumentCount, char** arguments) {
    CLI::App app(
        "Is this installation of the launcher right? Reads the identity card, Launcher.cfg and the two\n"
        "configuration files as the launcher does, and tells everything that is wrong or suspicious.",
        "zevo-check");
    app.footer(FOOTER);
    Wanted wanted;
    app.add_option("folder", wanted.folder, "The launcher's folder, with its four files");
    app.add_flag("--live", wanted.live, "Look at the machine, too: devices, applications, traces, launchers");
    app.add_flag("--json", wanted.json, "Write JSON, as docs/zevo-check.schema.json describes it");
    app.add_flag("--without-applications", wanted.withoutApplications,
                 "Do not look for the applications, which may be installed elsewhere");
    return runTool(app, argumentCount, arguments, [&] { return checkFolder(wanted); });
}
