// zevo-check: checks an installation.

#include "Bundle.h"
#include "Check.h"
#include "LiveReport.h"
#include "Mending.h"
#include "NewFolder.h"
#include "Report.h"
#include "Tool.h"

#include "FileSystemManagement.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <iostream>
#include <memory>

namespace {

using namespace Zevo;

const char FOOTER[] = "Exit status: 0 nothing wrong, 1 problems found, 2 wrong usage.";
const char FOLDER[] =
    "The launcher's folder, with its four files; else that of the installed launcher, else the current one";

std::string withSeparator(std::string folder) {
    if (!folder.empty() && folder.back() != '/')
        folder += '/';
    return folder;
}

// The launcher that was installed together with this program.
std::string installedFolder() {
    const std::string folder =
        FileSystemManagement::getCurrentExecutableDirectory() + ZEVO_LAUNCHER_FROM_HERE;
    if (!FileSystemManagement::existFile(folder + "/ZevoLauncher"))
        return std::string();
    // Shown to people, so without "..".
    const std::unique_ptr<char, decltype(&std::free)> shortest(realpath(folder.c_str(), nullptr), &std::free);
    return withSeparator(shortest != nullptr ? shortest.get() : folder);
}

std::string chosenFolder(const std::string& given) {
    if (given.empty())
        return installedFolder();
    if (!FileSystemManagement::existFolder(given))
        throw UsageError("there is no folder " + given);
    return withSeparator(given);
}

void print(const nlohmann::ordered_json& json) {
    // File names may contain bytes that are not UTF-8.
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

// Reports what is left. Without the applications: they cannot be corrected here.
ExitStatus tellTheRest(const std::string& folder, const Colours& colours) {
    CheckOptions options;
    options.folder = folder;
    options.withApplications = false;
    const CheckResult result = checkInstallation(options);
    std::cout << asText(result, options, colours);
    return result.findings.empty() ? FINE : PROBLEMS_FOUND;
}

ExitStatus mendFolder(const std::string& given, bool onlyShow) {
    const std::string folder = chosenFolder(given);
    const Colours colours(takesColours(stdout));
    const std::vector<MendedFile> files = planMending(folder);
    for (const MendedFile& file : files)
        std::cout << differenceText(file, colours);
    std::cout.flush(); // the difference first
    if (onlyShow)
        return files.empty() ? FINE : PROBLEMS_FOUND;
    for (const MendedFile& file : files)
        std::cout << file.name << " is mended; what it was: " << writeMended(folder, file) << '\n';
    return tellTheRest(folder, colours);
}

struct NewInstallation {
    std::string modem;
    std::string folder;
    std::string database = MODEM_DATABASE;
};

ExitStatus makeFolder(const NewInstallation& wanted) {
    std::vector<UsbIds> connected;
    if (wanted.modem.empty())
        for (const LiveDevice& device : connectedDevices({}))
            connected.push_back({device.vendor, device.product});
    const ChosenModem modem = chooseModem(wanted.modem, readModemDatabase(wanted.database), connected);
    const std::string folder = withSeparator(wanted.folder);
    writeNewFolder(folder, modem);
    std::cout << folder << ": four files for " << shownIds(modem.modem)
              << (modem.names.empty() ? "" : " (" + modem.names + ")") << '\n'
              << (modem.isKnown ? "plugged in, it shows itself as " + shownIds(modem.cdRom)
                                : "it is not known how it shows itself when it is plugged in: see " + folder +
                                      "Launcher.cfg")
              << "\nID.txt has the sample's values: put in your own\n";
    return tellTheRest(folder, Colours(takesColours(stdout)));
}

struct WantedBundle {
    std::string folder;
    std::string file;
    std::string shownEntry;
    bool onlyShow = false;
};

ExitStatus makeBundle(const WantedBundle& wanted) {
    if (wanted.file.empty() && !wanted.onlyShow && wanted.shownEntry.empty())
        throw UsageError("--out is needed, or --show");
    CheckOptions options;
    options.folder = chosenFolder(wanted.folder);
    CheckResult result = checkInstallation(options);
    const Live live = lookAtMachine(options, result);
    const std::vector<BundleEntry> entries = gatherBundle(options, result, live);
    if (!wanted.shownEntry.empty()) {
        for (const BundleEntry& entry : entries) {
            if (entry.name == wanted.shownEntry) {
                std::cout << entry.text;
                return FINE;
            }
        }
        throw UsageError("the bundle has no " + wanted.shownEntry + "; see --show");
    }
    std::cout << entries.front().text; // the manifest
    if (wanted.onlyShow)
        return FINE;
    writeBundle(wanted.file, entries);
    std::cout << "\nwritten: " << wanted.file << '\n';
    return FINE;
}

} // namespace

int main(int argumentCount, char** arguments) {
    CLI::App app(
        "Is this installation of the launcher right? Reads the identity card, Launcher.cfg and the two\n"
        "configuration files as the launcher does, and tells everything that is wrong or suspicious.",
        "zevo-check");
    app.footer(FOOTER);
    Wanted wanted;
    app.add_option("folder", wanted.folder, FOLDER);
    app.add_flag("--live", wanted.live, "Look at the machine, too: devices, applications, traces, launchers");
    app.add_flag("--json", wanted.json, "Write JSON, as docs/schemas/zevo-check.json describes it");
    app.add_flag("--without-applications", wanted.withoutApplications,
                 "Do not look for the applications, which may be installed elsewhere");
    CLI::App& fix = *app.add_subcommand(
        "fix", "Mend what has one right answer: letter case of keys, line ends, byte order\n"
               "marks, a last line feed. Shows the difference first, keeps a copy");
    std::string folderToMend;
    bool onlyShow = false;
    fix.add_option("folder", folderToMend, FOLDER);
    fix.add_flag("--dry-run", onlyShow,
                 "Show the difference, and change nothing; status 1 when there is one");
    CLI::App& make = *app.add_subcommand("new", "Write a commented installation folder for a modem");
    NewInstallation installation;
    make.add_option("--modem", installation.modem,
                    "Its ids as lsusb shows them (12d1:1001), or its name; else the one that is plugged in");
    make.add_option("--out", installation.folder, "The folder to write")->required();
    make.add_option("--database", installation.database, "The data folder of usb_modeswitch")
        ->capture_default_str();
    CLI::App& bundle =
        *app.add_subcommand("bundle", "Gather configuration, traces, logs and a report for a support ticket");
    WantedBundle wantedBundle;
    bundle.add_option("folder", wantedBundle.folder, FOLDER);
    bundle.add_option("--out", wantedBundle.file, "The file to write, a .tar.gz");
    bundle.add_flag("--show", wantedBundle.onlyShow, "Tell what would go in, and write nothing");
    bundle.add_option("--show-file", wantedBundle.shownEntry, "Print one of its files as it would go in");
    return runTool(app, argumentCount, arguments, [&] {
        if (bundle.parsed())
            return makeBundle(wantedBundle);
        if (make.parsed())
            return makeFolder(installation);
        if (fix.parsed())
            return mendFolder(folderToMend, onlyShow);
        return checkFolder(wanted);
    });
}
