#include "ProcessFolder.h"

#include "../mach-o/ExecutableLink.h"
#include "FileBeginning.h"

#include <algorithm>
#include <cstdlib>

namespace LinuxPlatform {

const char LAUNCHED_VARIABLE[] = "PLATFORM_LAUNCHED=";

namespace {

/// An environment may have megabytes; our variable is the first entry, or close to that in a shell's child.
const std::size_t ENVIRONMENT_LIMIT = 256 * 1024;
const std::size_t COMMAND_LINE_LIMIT = 16 * 1024;
const std::size_t STATUS_LIMIT = 4096;

std::string& folder() {
    static std::string& path = *new std::string("/proc"); // never destroyed: read until the process ends
    return path;
}

} // namespace

const std::string& processesFolder() {
    return folder();
}

void setProcessesFolder(const std::string& path) {
    folder() = path;
}

ProcessFolder::ProcessFolder(pid_t pid) : m_path(processesFolder() + "/" + std::to_string(pid) + "/") {}

/// The name, in field 2, may hold blanks and parentheses; the start time is field 22.
int ProcessFolder::readStatus(ProcessStatus& status) const {
    status = ProcessStatus();
    std::string line;
    const int error = readBeginning(file("stat"), STATUS_LIMIT, 0, line);
    const std::size_t nameBegin = line.find('(');
    const std::size_t nameEnd = line.rfind(')');
    if (nameBegin == std::string::npos || nameEnd == std::string::npos || nameEnd + 2 >= line.size())
        return error;
    status.name = line.substr(nameBegin + 1, nameEnd - nameBegin - 1);
    status.state = line[nameEnd + 2];
    std::size_t at = nameEnd;
    for (int field = 2; field < 22 && at != std::string::npos; ++field)
        at = line.find(' ', at + 1);
    if (at != std::string::npos)
        status.startTime = std::strtoull(line.c_str() + at, nullptr, 10);
    return error;
}

int ProcessFolder::readLaunchNote(LaunchNote& note) const {
    note = LaunchNote();
    std::string environment;
    const int error = readBeginning(file("environ"), ENVIRONMENT_LIMIT, 0, environment);
    environment.insert(0, 1, '\0');
    const std::string entry = std::string(1, '\0') + LAUNCHED_VARIABLE;
    const std::size_t found = environment.find(entry);
    if (found == std::string::npos)
        return error;
    const char* value = environment.c_str() + found + entry.size();
    char* afterPid = nullptr;
    note.pid = static_cast<pid_t>(std::strtol(value, &afterPid, 10));
    if (*afterPid == ':')
        note.bundle = afterPid + 1;
    return error;
}

int ProcessFolder::readArguments(std::size_t most, std::vector<std::string>& arguments) const {
    arguments.clear();
    std::string line;
    const int error = readBeginning(file("cmdline"), COMMAND_LINE_LIMIT, 0, line);
    for (std::size_t begin = 0; begin < line.size() && arguments.size() < most;) {
        const std::size_t end = std::min(line.find('\0', begin), line.size());
        arguments.push_back(line.substr(begin, end - begin));
        begin = end + 1;
    }
    return error;
}

int ProcessFolder::readUser(uid_t& user) const {
    std::string status;
    const int error = readBeginning(file("status"), STATUS_LIMIT, 0, status);
    const char entry[] = "\nUid:";
    const std::size_t found = status.find(entry);
    user = found == std::string::npos
               ? static_cast<uid_t>(-1)
               : static_cast<uid_t>(std::strtoul(status.c_str() + found + sizeof entry - 1, nullptr, 10));
    return error;
}

std::string ProcessFolder::executable() const {
    return readExecutableLink(file("exe"));
}

} // namespace LinuxPlatform
