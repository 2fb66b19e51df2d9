#include "RunningApplications.h"

#include "../mach-o/ExecutableLink.h"
#include "Bundles.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

const char LAUNCHED_VARIABLE[] = "PLATFORM_LAUNCHED=";

namespace {

// An environment may have megabytes; ours is the first entry of it, or close to that in a shell's child.
const size_t ENVIRONMENT_LIMIT = 256 * 1024;
const size_t COMMAND_LINE_LIMIT = 16 * 1024;
const size_t FIRST_LINE_LIMIT = 256;
// "interpreter", one option, "script" is what the kernel makes of a script; env and its like add little to
// it.
const size_t SCRIPT_ARGUMENT_LIMIT = 4;

class ProcessFolder {
public:
    explicit ProcessFolder(pid_t pid) {
        std::snprintf(m_path, sizeof m_path, "/proc/%ld", static_cast<long>(pid));
    }

    std::string file(const char* name) const { return std::string(m_path) + "/" + name; }

    bool isOwnedBy(uid_t user) const {
        struct stat folder;
        return ::stat(m_path, &folder) == 0 && folder.st_uid == user;
    }

private:
    char m_path[sizeof "/proc/" + 3 * sizeof(long)];
};

/// A file of /proc or a script. Neither grows meanwhile, so that less than was asked for is the end: one call
/// fewer for each of some hundred processes.
std::string readUpTo(const std::string& path, size_t limit, int flags = 0) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | flags);
    if (file < 0)
        return std::string();
    std::string content(std::min<size_t>(limit, 8192), '\0');
    size_t length = 0;
    for (;;) {
        const size_t wanted = content.size() - length;
        const ssize_t count = ::read(file, &content[length], wanted);
        if (count > 0)
            length += static_cast<size_t>(count);
        if (count < 0 || static_cast<size_t>(count) < wanted || length == limit)
            break;
        content.resize(std::min(limit, 2 * content.size()));
    }
    ::close(file);
    content.resize(length);
    return content;
}

std::vector<std::string> splitAtZeros(const std::string& text, size_t most) {
    std::vector<std::string> parts;
    for (size_t begin = 0; begin < text.size() && parts.size() < most;) {
        const size_t end = std::min(text.find('\0', begin), text.size());
        parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

/// The note that Launch Services leaves in the environment of what it starts. Children inherit it; the
/// process id in it tells them apart.
struct LaunchNote {
    long pid = 0;
    std::string bundle;
};

LaunchNote launchNoteOf(const ProcessFolder& process) {
    LaunchNote note;
    const std::string environment =
        std::string(1, '\0') + readUpTo(process.file("environ"), ENVIRONMENT_LIMIT);
    const std::string entry = std::string(1, '\0') + LAUNCHED_VARIABLE;
    const size_t found = environment.find(entry);
    if (found == std::string::npos)
        return note;
    const char* value = environment.c_str() + found + entry.size();
    char* afterPid = nullptr;
    note.pid = std::strtol(value, &afterPid, 10);
    if (*afterPid == ':')
        note.bundle = afterPid + 1;
    return note;
}

/// Whether the file is a script for the interpreter of that name. An editor that has the script open is not.
bool isScriptFor(const std::string& file, const std::string& interpreter) {
    struct stat found;
    if (::stat(file.c_str(), &found) != 0 || !S_ISREG(found.st_mode))
        return false;
    std::string line = readUpTo(file, FIRST_LINE_LIMIT, O_NONBLOCK | O_NOCTTY);
    if (line.compare(0, 2, "#!") != 0)
        return false;
    line.resize(std::min(line.find('\n'), line.size()));
    for (size_t begin = 2; begin < line.size();) {
        const size_t end = std::min(line.find_first_of(" \t", begin), line.size());
        if (end > begin && lastComponent(line.substr(begin, end - begin)) == interpreter)
            return true;
        begin = end + 1;
    }
    return false;
}

std::string bundleOfScript(const ProcessFolder& process) {
    const std::string commandLine = readUpTo(process.file("cmdline"), COMMAND_LINE_LIMIT);
    const std::vector<std::string> arguments = splitAtZeros(commandLine, SCRIPT_ARGUMENT_LIMIT);
    for (size_t i = 1; i < arguments.size(); ++i) {
        if (arguments[i].empty() || arguments[i][0] != '/')
            continue;
        const std::string bundle = innermostBundle(arguments[i]);
        if (!bundle.empty() && isScriptFor(arguments[i], lastComponent(arguments[0])))
            return bundle;
    }
    return std::string();
}

/// Field 22 of the status line; 0 when the process is gone. The name in field 2 may hold blanks and
/// parentheses.
UInt64 startTimeOf(const ProcessFolder& process) {
    const std::string status = readUpTo(process.file("stat"), 4096);
    size_t at = status.rfind(')');
    for (int field = 2; field < 22 && at != std::string::npos; ++field)
        at = status.find(' ', at + 1);
    return at == std::string::npos ? 0 : std::strtoull(status.c_str() + at, nullptr, 10);
}

bool inspect(pid_t pid, const std::string& root, RunningApplication& application) {
    const ProcessFolder process(pid);
    application.executable = readExecutableLink(process.file("exe"));
    if (application.executable.empty())
        return false; // a kernel thread, another user's, or one that has ended and was not waited for yet
    const LaunchNote note = launchNoteOf(process);
    application.isAsLaunched = note.pid == pid && !note.bundle.empty();
    application.bundle = application.isAsLaunched ? note.bundle : innermostBundle(application.executable);
    if (application.bundle.empty()) {
        application.bundle = bundleOfScript(process);
        if (application.bundle == note.bundle)
            application.bundle.clear(); // a part of the launched script, not the script once more
    }
    if (application.bundle.empty() || !liesIn(application.bundle, root))
        return false;
    if (!process.isOwnedBy(::geteuid()))
        return false; // the superuser can read everybody's
    application.pid = pid;
    application.startTime = startTimeOf(process);
    return application.startTime != 0;
}

} // namespace

int listRunningApplications(std::vector<RunningApplication>& applications) {
    applications.clear();
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir("/proc"), &::closedir);
    if (folder == nullptr)
        return errno;
    const std::string root = rootFolder();
    while (const struct dirent* entry = ::readdir(folder.get())) {
        const long pid = std::strtol(entry->d_name, nullptr, 10);
        RunningApplication application;
        if (pid > 0 && inspect(static_cast<pid_t>(pid), root, application))
            applications.push_back(std::move(application));
    }
    std::sort(
        applications.begin(), applications.end(),
        [](const RunningApplication& left, const RunningApplication& right) { return left.pid < right.pid; });
    return 0;
}

bool findRunningApplication(pid_t pid, RunningApplication& application) {
    return inspect(pid, rootFolder(), application);
}

ProcessSerialNumber serialNumberOf(const RunningApplication& application) {
    // The highest bit keeps clear of the serial numbers with a high word of 0, which have meanings of their
    // own.
    ProcessSerialNumber number;
    number.highLongOfPSN = 0x80000000u | static_cast<UInt32>(application.startTime & 0x7FFFFFFFu);
    number.lowLongOfPSN = static_cast<UInt32>(application.pid);
    return number;
}

} // namespace platform
