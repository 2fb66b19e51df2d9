#include "ApplicationCheck.h"

#include "SourceText.h"

#include "BundleExecutable.h"
#include "Bundles.h"
#include "LauncherApplication.h"

#include <fmt/format.h>

#include <string_view>
#include <unistd.h>

namespace Zevo {
namespace {

const char STATUS[] = "starting it fails with status";

void add(Findings& findings, const char* id, const std::string& file, std::string wrong,
         std::string expected) {
    Place place;
    place.file = file;
    findings.push_back({id, std::move(place), std::move(wrong), std::move(expected), ""});
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool beginsWithWord(std::string_view command, std::string_view word) {
    return command.substr(0, word.size()) == word &&
           (command.size() == word.size() || command[word.size()] == ' ');
}

// A script that leaves its work to a background process has ended when the launcher checks for it.
void checkScript(const SourceText& script, Findings& findings) {
    const std::string_view head = trimmed(script.line(1).substr(2));
    const std::string interpreter(head.substr(0, head.find_first_of(" \t")));
    if (access(interpreter.c_str(), X_OK) != 0)
        findings.push_back(
            {"application-interpreter-missing", script.atText(1, interpreter),
             fmt::format("there is no such interpreter: {} {}", STATUS, int{kLSExecutableIncorrectFormat}),
             "a program that is there", ""});
    int fork = 0;
    std::string_view lastCommand;
    for (int number = 2; number <= script.lineCount(); ++number) {
        const std::string_view command = trimmed(script.line(number));
        if (command.empty() || command.front() == '#')
            continue;
        lastCommand = command;
        if (command.back() == '&' && (command.size() < 2 || command[command.size() - 2] != '&'))
            fork = number;
    }
    if (fork != 0 && !beginsWithWord(lastCommand, "exec") && !beginsWithWord(lastCommand, "wait"))
        findings.push_back(
            {"application-script-forks", script.atLine(fork),
             "the script starts a program behind itself and ends: where that lies outside the bundle, it "
             "is started again with every event of the modem",
             "a last line exec and the program", ""});
}

void checkExecutable(const char* path, const LinuxPlatform::ReferencedPath& bundle, Findings& findings) {
    std::string file;
    const OSStatus status = LinuxPlatform::findBundleExecutable(bundle, file);
    if (status != noErr) {
        add(findings, "application-without-executable", file.empty() ? path : file,
            file.empty() ? fmt::format("names an executable outside of itself: {} {}", STATUS, status)
                         : fmt::format("the bundle has no executable by this name: {} {}", STATUS, status),
            "a program in Contents/MacOS with the bundle's name, or the one that its Info.plist gives");
        return;
    }
    if (access(file.c_str(), X_OK) != 0) {
        add(findings, "application-not-executable", file,
            fmt::format("this user may not execute it: {} {}", STATUS, int{kLSNoLaunchPermissionErr}),
            "chmod +x");
        return;
    }
    const SourceText program(file, file);
    if (program.bytes().compare(0, 2, "#!") == 0)
        checkScript(program, findings);
}

} // namespace

bool checkApplication(const char* path, Findings& findings) {
    FSRef reference;
    LinuxPlatform::ReferencedPath bundle;
    OSStatus status = FSPathMakeRef(reinterpret_cast<const UInt8*>(path), &reference, nullptr);
    if (status == noErr)
        status = LinuxPlatform::resolveReference(reference, bundle);
    if (status == noErr)
        status = LinuxPlatform::checkBundle(bundle);
    if (status == kLSNotAnApplicationErr) {
        add(findings, "application-no-bundle", path, fmt::format("is no folder: {} {}", STATUS, status),
            "an application bundle");
        return false;
    }
    if (status != noErr) {
        add(findings, "application-missing", path, fmt::format("is not there: {} {}", STATUS, status),
            "the application, in a bundle of this name");
        return false;
    }
    checkExecutable(path, bundle, findings);
    return true;
}

void checkApplications(Findings& findings) {
    std::string missing; // without it, everything in it is missing, too
    for (const LauncherApplication& application : LAUNCHER_APPLICATIONS) {
        if (!missing.empty() && LinuxPlatform::liesIn(application.path, missing))
            continue;
        if (!checkApplication(application.path, findings))
            missing = application.path;
    }
}

} // namespace Zevo
