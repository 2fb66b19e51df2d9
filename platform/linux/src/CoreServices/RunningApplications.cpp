#include "RunningApplications.h"

#include "../mach-o/ExecutableLink.h"
#include "Bundles.h"
#include "FileBeginning.h"
#include "KnownProcesses.h"
#include "ProcessFolder.h"
#include "StartedApplications.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace LinuxPlatform {

namespace {

const std::size_t FIRST_LINE_LIMIT = 256;
/// The kernel runs a script as "interpreter", one option, "script"; env and its like add little.
const std::size_t SCRIPT_ARGUMENT_LIMIT = 4;
/// The bytes that the kernel keeps of the name of the file that a process runs.
const std::size_t KEPT_NAME_LENGTH = 15;

/// Whether the file is a script for the interpreter of that name. A file that an editor has open is not.
int isScriptFor(const std::string& file, const std::string& interpreter, bool& isOne) {
    isOne = false;
    struct stat found;
    if (::stat(file.c_str(), &found) != 0 || !S_ISREG(found.st_mode))
        return 0;
    std::string line;
    const int error = readBeginning(file, FIRST_LINE_LIMIT, O_NONBLOCK | O_NOCTTY, line);
    if (error != 0 || line.compare(0, 2, "#!") != 0)
        return error;
    line.resize(std::min(line.find('\n'), line.size()));
    for (std::size_t begin = 2; begin < line.size() && !isOne;) {
        const std::size_t end = std::min(line.find_first_of(" \t", begin), line.size());
        isOne = end > begin && lastComponent(line.substr(begin, end - begin)) == interpreter;
        begin = end + 1;
    }
    return 0;
}

int findBundleOfScript(const ProcessFolder& process, std::string& bundle) {
    std::vector<std::string> arguments;
    int error = process.readArguments(SCRIPT_ARGUMENT_LIMIT, arguments);
    bool isScript = false;
    for (std::size_t i = 1; i < arguments.size() && error == 0 && !isScript; ++i) {
        bundle = arguments[i].compare(0, 1, "/") == 0 ? innermostBundle(arguments[i]) : std::string();
        if (!bundle.empty())
            error = isScriptFor(arguments[i], lastComponent(arguments[0]), isScript);
    }
    if (!isScript)
        bundle.clear();
    return error;
}

/// The file that a process claims to run, if the system does not show which one it is: for a program with
/// file capabilities or a set-user-id bit, and for one that has made itself undumpable. A process may write
/// anything into its command line, so the claim counts only for a file in a bundle whose name the kernel
/// knows the process by. Otherwise a false claim could keep an application from ever being started.
int findClaimedExecutable(const ProcessFolder& process, std::string& executable) {
    std::vector<std::string> arguments;
    int error = process.readArguments(1, arguments);
    if (error != 0 || arguments.empty())
        return error;
    const std::string& file = arguments.front();
    if (file.compare(0, 1, "/") != 0 || innermostBundle(file).empty())
        return 0;
    ProcessStatus status;
    error = process.readStatus(status);
    if (error != 0 || status.name != lastComponent(file).substr(0, KEPT_NAME_LENGTH))
        return error;
    const std::string real = realPath(file);
    executable = real.empty() ? file : real; // the file was deleted
    return 0;
}

/// The bundle that a process runs, and whether the process was launched for it. Empty if it runs none.
int findBundle(const ProcessFolder& process, RunningApplication& application) {
    LaunchNote note;
    int error = 0;
    // What Launch Services starts leads a session of its own, to its end. Checking that is cheaper than
    // reading the environment of every process.
    const bool mayBeLaunched = ::getsid(application.pid) == application.pid;
    if (mayBeLaunched)
        error = process.readLaunchNote(note);
    application.isAsLaunched = note.pid == application.pid && !note.bundle.empty();
    application.bundle = application.isAsLaunched ? note.bundle : innermostBundle(application.executable);
    if (error != 0 || !application.bundle.empty())
        return error;
    error = findBundleOfScript(process, application.bundle);
    if (error == 0 && !application.bundle.empty() && !mayBeLaunched)
        error = process.readLaunchNote(note);
    if (application.bundle == note.bundle)
        application.bundle.clear(); // a part of the launched script, not the script again
    return error;
}

/// As inspect(), for a process that this one has not started.
int inspectOther(pid_t pid, const std::string& root, RunningApplication& application, bool& isOne) {
    // Only the superuser and the user who started a process may send it a signal, so the processes of all
    // others need not be inspected.
    if (::kill(pid, 0) != 0 && errno == EPERM)
        return 0;
    const ProcessFolder process(pid);
    application.pid = pid;
    application.executable = process.executable();
    int error = 0;
    if (application.executable.empty() && errno == EACCES)
        error = findClaimedExecutable(process, application.executable);
    if (error != 0 || application.executable.empty())
        return error;
    error = findBundle(process, application);
    // A launcher inside a bundle is not the bundle's application.
    if (error != 0 || application.bundle.empty() || !liesIn(application.bundle, root) ||
        application.executable == readExecutableLink("/proc/self/exe"))
        return error;
    uid_t user = 0;
    error = process.readUser(user);
    if (error != 0 || user != ::geteuid())
        return error;
    ProcessStatus status;
    error = process.readStatus(status);
    application.startTime = status.startTime;
    isOne = error == 0 && status.startTime != 0;
    return error;
}

/// Whether the process is a running application, and which.
/// @return 0, or the errno if that cannot be determined
int inspect(pid_t pid, const std::string& root, RunningApplication& application, bool& isOne) {
    isOne = false;
    if (pid == ::getpid())
        return 0;
    const int error = StartedApplications::get().find(pid, application, isOne);
    if (error != 0)
        return error;
    if (!isOne)
        return inspectOther(pid, root, application, isOne);
    const std::string executable = ProcessFolder(pid).executable();
    if (!executable.empty())
        application.executable = executable; // it may have executed another program
    isOne = liesIn(application.bundle, root);
    return 0;
}

void sortByProcess(std::vector<RunningApplication>& applications) {
    std::sort(
        applications.begin(), applications.end(),
        [](const RunningApplication& left, const RunningApplication& right) { return left.pid < right.pid; });
}

bool findBundleIn(const std::vector<RunningApplication>& applications, const std::string& bundle,
                  RunningApplication& application) {
    for (const RunningApplication& running : applications) {
        if (realPath(running.bundle) == bundle) {
            application = running;
            return true;
        }
    }
    return false;
}

} // namespace

int listRunningApplications(std::vector<RunningApplication>& applications) {
    applications.clear();
    const std::string root = rootFolder();
    const int error = KnownProcesses::get().visit(root, ::geteuid(), [&](pid_t pid, bool& isApplication) {
        RunningApplication application = {};
        const int lack = inspect(pid, root, application, isApplication);
        if (isApplication)
            applications.push_back(std::move(application));
        return lack;
    });
    if (error != 0)
        applications.clear();
    sortByProcess(applications);
    return error;
}

int listStartedApplications(std::vector<RunningApplication>& applications) {
    const int error = StartedApplications::get().list(applications);
    const auto isElsewhere = [root = rootFolder()](const RunningApplication& application) {
        return !liesIn(application.bundle, root);
    };
    applications.erase(std::remove_if(applications.begin(), applications.end(), isElsewhere),
                       applications.end());
    if (error != 0)
        applications.clear();
    sortByProcess(applications);
    return error;
}

int findRunningApplicationOf(const std::string& bundle, bool& isRunning, RunningApplication& application) {
    std::vector<RunningApplication> applications;
    int error = StartedApplications::get().list(applications);
    isRunning = error == 0 && findBundleIn(applications, bundle, application);
    if (error != 0 || isRunning)
        return error;
    error = listRunningApplications(applications);
    isRunning = error == 0 && findBundleIn(applications, bundle, application);
    return error;
}

int findRunningApplication(pid_t pid, RunningApplication& application) {
    bool isOne = false;
    const int error = inspect(pid, rootFolder(), application, isOne);
    return error == 0 && !isOne ? ESRCH : error;
}

RunningApplication noteStartedApplication(pid_t pid, const std::string& bundle,
                                          const std::string& executable) {
    ProcessStatus status; // if it cannot be read, the pidfd identifies the process
    ProcessFolder(pid).readStatus(status);
    const RunningApplication application = {pid, status.startTime, bundle, executable, true};
    StartedApplications::get().add(application);
    KnownProcesses::get().add(pid);
    return application;
}

bool isComplete(pid_t pid) {
    const ProcessFolder process(pid);
    ProcessStatus status;
    std::vector<std::string> arguments;
    // If resources are lacking, waiting would not help.
    return process.readStatus(status) != 0 || status.startTime == 0 || status.hasEnded() ||
           process.readArguments(1, arguments) != 0 || !arguments.empty();
}

void readProcessesFrom(const std::string& folder) {
    setProcessesFolder(folder);
    KnownProcesses::get().forget();
}

ProcessSerialNumber serialNumberOf(const RunningApplication& application) {
    // The highest bit avoids the serial numbers with a high word of 0, which have special meanings.
    ProcessSerialNumber number;
    number.highLongOfPSN = 0x80000000u | static_cast<UInt32>(application.startTime & 0x7FFFFFFFu);
    number.lowLongOfPSN = static_cast<UInt32>(application.pid);
    return number;
}

} // namespace LinuxPlatform
