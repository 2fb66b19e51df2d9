#include "RunningApplications.h"

#include "../mach-o/ExecutableLink.h"
#include "Bundles.h"
#include "Diagnostics.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace platform {

const char LAUNCHED_VARIABLE[] = "PLATFORM_LAUNCHED=";

namespace {

// An environment may have megabytes; ours is the first entry of it, or close to that in a shell's child.
const size_t ENVIRONMENT_LIMIT = 256 * 1024;
const size_t COMMAND_LINE_LIMIT = 16 * 1024;
const size_t FIRST_LINE_LIMIT = 256;
const size_t STATUS_LIMIT = 4096;
// "interpreter", one option, "script" is what the kernel makes of a script; env and its like add little.
const size_t SCRIPT_ARGUMENT_LIMIT = 4;
// What the kernel keeps of the name of the file that a process runs.
const size_t KEPT_NAME_LENGTH = 15;

std::string& processesFolder() {
    static std::string& folder = *new std::string("/proc"); // never destroyed: lists are read to the very end
    return folder;
}

class ProcessFolder {
public:
    explicit ProcessFolder(pid_t pid) : m_path(processesFolder() + "/" + std::to_string(pid)) {}

    std::string file(const char* name) const { return m_path + "/" + name; }

private:
    const std::string m_path;
};

/// Thrown: what this process or the machine lacks says nothing about the process that was looked at.
struct LackOfMeans {
    int error;
};

/// The list is none: it is not there, or not the one that this process is in.
const int NO_LIST = ESRCH;

bool isLackOfMeans(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

/// /proc while it is being read. Throws LackOfMeans when it cannot be.
class ProcessList {
public:
    ProcessList() : m_folder(::opendir(processesFolder().c_str()), &::closedir) {
        if (m_folder == nullptr)
            throw LackOfMeans{isLackOfMeans(errno) ? errno : NO_LIST};
    }

    /// In the /proc of another namespace the ids are those of other processes.
    bool isOfThisProcess() const {
        char target[32];
        const ssize_t length = ::readlink((processesFolder() + "/self").c_str(), target, sizeof target);
        return length > 0 && std::string(target, static_cast<size_t>(length)) == std::to_string(::getpid());
    }

    /// The next process, by ascending id; 0 at the end.
    pid_t next() {
        while (const struct dirent* entry = ::readdir(m_folder.get())) {
            const long pid = std::strtol(entry->d_name, nullptr, 10);
            if (pid > 0)
                return static_cast<pid_t>(pid);
            if (entry->d_type == DT_DIR && entry->d_name[0] != '.')
                ++m_otherFolders;
        }
        return 0;
    }
    /// The folders in it that are no process's. To be asked at the end.
    long otherFolders() const { return m_otherFolders; }

private:
    std::unique_ptr<DIR, int (*)(DIR*)> m_folder;
    long m_otherFolders = 0;
};

/// How many processes there are, told by one call: a folder has two links, and one more for each folder in
/// it. In a namespace of its own, /proc counts the processes of all (proc_root_getattr() in the kernel's
/// fs/proc/root.c). -1 when it cannot be told.
long countProcesses(long otherFolders) {
    struct stat folder;
    return ::stat(processesFolder().c_str(), &folder) == 0
               ? static_cast<long>(folder.st_nlink) - 2 - otherFolders
               : -1;
}

/// A file of /proc or a script; nothing when it is not there or not for this user. Neither grows meanwhile,
/// so that less than was asked for is the end: one call fewer for each of some hundred processes. Throws
/// LackOfMeans when it cannot be told what is in it.
std::string readUpTo(const std::string& path, size_t limit, int flags = 0) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | flags);
    if (file < 0 && isLackOfMeans(errno))
        throw LackOfMeans{errno};
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

/// What everybody may read of every process: its status line.
struct ProcessStatus {
    std::string name;     // of the file that it runs, cut, unless it has given itself another one
    char state = '\0';    // a letter
    UInt64 startTime = 0; // 0 when there is no such process, or one that is hidden from this user

    bool hasEnded() const { return state == 'Z' || state == 'X'; }
};

/// The name, in field 2, may hold blanks and parentheses; the start time is field 22.
ProcessStatus statusOf(const ProcessFolder& process) {
    const std::string line = readUpTo(process.file("stat"), STATUS_LIMIT);
    const size_t nameBegin = line.find('(');
    const size_t nameEnd = line.rfind(')');
    ProcessStatus status;
    if (nameBegin == std::string::npos || nameEnd == std::string::npos || nameEnd + 2 >= line.size())
        return status;
    status.name = line.substr(nameBegin + 1, nameEnd - nameBegin - 1);
    status.state = line[nameEnd + 2];
    size_t at = nameEnd;
    for (int field = 2; field < 22 && at != std::string::npos; ++field)
        at = line.find(' ', at + 1);
    if (at != std::string::npos)
        status.startTime = std::strtoull(line.c_str() + at, nullptr, 10);
    return status;
}

/// Whether the user has started it. Neither the owner of its folder nor the user that it acts as tells that
/// of a set-user-id program.
bool isStartedBy(uid_t user, const ProcessFolder& process) {
    const std::string status = readUpTo(process.file("status"), STATUS_LIMIT);
    const char entry[] = "\nUid:";
    const size_t found = status.find(entry);
    return found != std::string::npos &&
           std::strtoul(status.c_str() + found + sizeof entry - 1, nullptr, 10) == user;
}

/// The file that a process claims to run, where the system does not tell which one it is: for a program with
/// file capabilities or a set-user-id bit, and for one that has asked not to be looked into. A process may
/// write anything into its command line; so it counts only for a file in a bundle whose name the kernel knows
/// the process by. Else an application would never be started as long as such a process runs.
std::string claimedExecutable(const ProcessFolder& process) {
    const std::string commandLine = readUpTo(process.file("cmdline"), COMMAND_LINE_LIMIT);
    const std::string file = commandLine.substr(0, commandLine.find('\0'));
    if (file.empty() || file[0] != '/' || innermostBundle(file).empty())
        return std::string();
    if (statusOf(process).name != lastComponent(file).substr(0, KEPT_NAME_LENGTH))
        return std::string();
    const std::string real = realPath(file);
    return real.empty() ? file : real; // deleted since
}

/// The file that a process runs; empty for a kernel thread, for one that has ended and was not waited for
/// yet, and where it cannot be told.
std::string executableOf(const ProcessFolder& process) {
    const std::string file = readExecutableLink(process.file("exe"));
    return file.empty() && errno == EACCES ? claimedExecutable(process) : file;
}

/// What has been started here is running until its process ends, whatever the system lets us read about it.
class StartedApplications {
public:
    void add(const RunningApplication& application) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        forget([&](const RunningApplication& started) { return started.pid == application.pid; });
        m_applications.push_back(application);
    }

    void forgetEnded() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        forget([](const RunningApplication& started) { return !stillRuns(started); });
    }

    /// The one of that process, if it still runs. Throws LackOfMeans when it cannot be told.
    bool find(pid_t pid, RunningApplication& application) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto isIt = [pid](const RunningApplication& started) { return started.pid == pid; };
        const auto place = std::find_if(m_applications.begin(), m_applications.end(), isIt);
        if (place == m_applications.end())
            return false;
        if (!stillRuns(*place)) {
            m_applications.erase(place);
            return false;
        }
        application = *place;
        const std::string executable = readExecutableLink(ProcessFolder(pid).file("exe"));
        if (!executable.empty())
            application.executable = executable; // it may have become another program
        return true;
    }

private:
    template <typename Condition>
    void forget(Condition condition) {
        m_applications.erase(std::remove_if(m_applications.begin(), m_applications.end(), condition),
                             m_applications.end());
    }

    static bool stillRuns(const RunningApplication& started) {
        const ProcessStatus status = statusOf(ProcessFolder(started.pid));
        if (status.startTime != 0)
            return status.startTime == started.startTime && !status.hasEnded();
        // Gone, or in a /proc that hides what this user may not look into.
        return ::kill(started.pid, 0) == 0 || errno == EPERM;
    }

    std::mutex m_mutex;
    std::vector<RunningApplication> m_applications;
};

StartedApplications& startedApplications() {
    static StartedApplications& applications = *new StartedApplications; // never destroyed, as above
    return applications;
}

/// Whether a program in a bundle is the launcher: this process, or another one of it, and no application.
bool isThisProgram(pid_t pid, const std::string& executable) {
    return pid == ::getpid() || executable == readExecutableLink("/proc/self/exe");
}

/// Whether the process is a running application, and which. Throws LackOfMeans when it cannot be told.
bool inspect(pid_t pid, const std::string& root, RunningApplication& application) {
    if (startedApplications().find(pid, application))
        return liesIn(application.bundle, root);
    const ProcessFolder process(pid);
    application.executable = executableOf(process);
    if (application.executable.empty())
        return false;
    LaunchNote note;
    // What Launch Services starts leads a session of its own, and does to its end. To ask for that is cheaper
    // than to read the environment of everything.
    const bool mayBeLaunched = ::getsid(pid) == pid;
    if (mayBeLaunched)
        note = launchNoteOf(process);
    application.isAsLaunched = note.pid == pid && !note.bundle.empty();
    application.bundle = application.isAsLaunched ? note.bundle : innermostBundle(application.executable);
    if (application.bundle.empty()) {
        application.bundle = bundleOfScript(process);
        if (!application.bundle.empty() && !mayBeLaunched)
            note = launchNoteOf(process);
        if (application.bundle == note.bundle)
            application.bundle.clear(); // a part of the launched script, not the script once more
    }
    if (application.bundle.empty() || !liesIn(application.bundle, root))
        return false;
    if (isThisProgram(pid, application.executable) || !isStartedBy(::geteuid(), process))
        return false;
    application.pid = pid;
    application.startTime = statusOf(process).startTime;
    return application.startTime != 0;
}

/// The clock of the processor time that a process gets, which anybody may read with one call.
class ProcessorClock {
public:
    ProcessorClock() = default;
    explicit ProcessorClock(pid_t pid) : m_isThere(::clock_getcpuclockid(pid, &m_clock) == 0) {}

    /// In nanoseconds; -1 when it cannot be told.
    SInt64 now() const {
        struct timespec time;
        if (!m_isThere || ::clock_gettime(m_clock, &time) != 0)
            return -1;
        return static_cast<SInt64>(time.tv_sec) * 1000000000 + time.tv_nsec;
    }

private:
    clockid_t m_clock = 0;
    bool m_isThere = false;
};

/// All processes of the last look at them.
///
/// One that was no application comes with the processor time that it had had until then. Most processes sleep
/// most of the time, and one that has not run since is what it was: looking at its clock takes a tenth of
/// looking at it. (The kernel brings the clock of a process that runs this very moment up to date with each
/// tick; so the list may show a process as it was a tick ago, about as long as it takes to read the list.)
///
/// Where those that are left are as many as there are processes, no other one has come, and /proc need not be
/// read: that takes twice as long as the clocks. A device and its interfaces come in a row.
class KnownProcesses {
public:
    /// What a process was found to be depends on both; a change makes everything new.
    void begin(const std::string& root, uid_t user) {
        if (root != m_root || user != m_user)
            forget();
        m_root = root;
        m_user = user;
    }

    void forget() { m_known.clear(); }

    /// Looks at every process there is; `isApplication` is called with the id of each that may be one. Throws
    /// LackOfMeans where they cannot be told, which is not the same as none: this process is always there.
    template <typename IsApplication>
    void lookAtAll(IsApplication isApplication) {
        const long count = countProcesses(m_otherFolders);
        lookAtKnown(isApplication);
        if (static_cast<long>(m_known.size()) != count || !isOwnProcessKnown())
            lookAtOthers(isApplication);
        if (!isOwnProcessKnown())
            throw LackOfMeans{NO_LIST};
    }

    /// Says so once, until lists can be read again.
    void noteWhetherThereIsAList(bool isThere) {
        if (!isThere && m_isThere)
            LinuxPlatform::Report(
                "CoreServices: %s does not show this process, so it tells of no other either; "
                "no application will be started",
                processesFolder().c_str());
        m_isThere = isThere;
    }

    /// One that has been started here, and may be an application. Counted among the known, it is no reason
    /// to read /proc.
    void add(pid_t pid) {
        const auto place = placeOf(pid);
        if (place != m_known.end() && place->pid == pid)
            place->time = LOOK_AGAIN;
        else
            m_known.insert(place, {pid, ProcessorClock(pid), LOOK_AGAIN, false});
    }

private:
    static const SInt64 LOOK_AGAIN = -1;
    struct Known {
        pid_t pid;
        ProcessorClock clock;
        SInt64 time; // had when it was no application; LOOK_AGAIN when it was one
        bool hasEnded;
    };

    std::vector<Known>::iterator placeOf(pid_t pid) {
        return std::lower_bound(m_known.begin(), m_known.end(), pid,
                                [](const Known& known, pid_t id) { return known.pid < id; });
    }

    bool isOwnProcessKnown() {
        const auto place = placeOf(::getpid());
        return place != m_known.end() && place->pid == ::getpid();
    }

    template <typename IsApplication>
    void lookAtKnown(IsApplication isApplication) {
        for (Known& known : m_known) {
            // Read first, so that what it does while it is looked at shows next time.
            const SInt64 time = known.clock.now();
            known.hasEnded = time < 0;
            if (known.hasEnded || time == known.time)
                continue;
            known.time = LOOK_AGAIN; // also where the look fails
            if (!isApplication(known.pid))
                known.time = time;
        }
        const auto hasEnded = [](const Known& known) { return known.hasEnded; };
        m_known.erase(std::remove_if(m_known.begin(), m_known.end(), hasEnded), m_known.end());
    }

    template <typename IsApplication>
    void lookAtOthers(IsApplication isApplication) {
        ProcessList list;
        if (!list.isOfThisProcess())
            throw LackOfMeans{NO_LIST};
        const auto isBefore = [](const Known& left, const Known& right) { return left.pid < right.pid; };
        std::vector<Known> others;
        auto position = m_known.cbegin();
        while (const pid_t pid = list.next()) {
            while (position != m_known.cend() && position->pid < pid)
                ++position;
            if (position != m_known.cend() && position->pid == pid)
                continue;
            const ProcessorClock clock(pid);
            const SInt64 time = clock.now();
            const bool isOne = isApplication(pid);
            if (time >= 0)
                others.push_back({pid, clock, isOne ? LOOK_AGAIN : time, false});
        }
        const auto known = static_cast<std::ptrdiff_t>(m_known.size());
        m_known.insert(m_known.end(), others.begin(), others.end());
        std::inplace_merge(m_known.begin(), m_known.begin() + known, m_known.end(), isBefore);
        m_otherFolders = list.otherFolders();
    }

    std::string m_root;
    uid_t m_user = 0;
    std::vector<Known> m_known; // by ascending id
    long m_otherFolders = 0;
    bool m_isThere = true;
};

/// With its lock held for the life of the object.
class LockedKnownProcesses {
public:
    LockedKnownProcesses() : m_lock(mutex()) {}
    KnownProcesses* operator->() const {
        static KnownProcesses& processes =
            *new KnownProcesses; // never destroyed: lists are read to the very end
        return &processes;
    }

private:
    static std::mutex& mutex() {
        static std::mutex& theMutex = *new std::mutex;
        return theMutex;
    }
    std::lock_guard<std::mutex> m_lock;
};

} // namespace

int listRunningApplications(std::vector<RunningApplication>& applications) {
    applications.clear();
    const std::string root = rootFolder();
    const LockedKnownProcesses processes;
    processes->begin(root, ::geteuid());
    try {
        processes->lookAtAll([&](pid_t pid) {
            RunningApplication application;
            const bool isOne = inspect(pid, root, application);
            if (isOne)
                applications.push_back(std::move(application));
            return isOne;
        });
        processes->noteWhetherThereIsAList(true);
    } catch (const LackOfMeans& lack) {
        applications.clear();
        if (lack.error == NO_LIST)
            processes->noteWhetherThereIsAList(false);
        return lack.error;
    }
    std::sort(
        applications.begin(), applications.end(),
        [](const RunningApplication& left, const RunningApplication& right) { return left.pid < right.pid; });
    return 0;
}

int findRunningApplication(pid_t pid, RunningApplication& application) {
    try {
        return inspect(pid, rootFolder(), application) ? 0 : ESRCH;
    } catch (const LackOfMeans& lack) {
        return lack.error;
    }
}

RunningApplication noteStartedApplication(pid_t pid, const std::string& bundle,
                                          const std::string& executable) {
    RunningApplication application = {pid, 0, bundle, executable, true};
    try {
        application.startTime = statusOf(ProcessFolder(pid)).startTime;
        startedApplications().forgetEnded();
    } catch (const LackOfMeans&) {
        // Then it is known by what can be read of it later.
    }
    startedApplications().add(application);
    LockedKnownProcesses()->add(pid);
    return application;
}

bool isComplete(pid_t pid) {
    try {
        const ProcessFolder process(pid);
        const ProcessStatus status = statusOf(process);
        return status.startTime == 0 || status.hasEnded() || !readUpTo(process.file("cmdline"), 1).empty();
    } catch (const LackOfMeans&) {
        return true; // waiting would not help
    }
}

void readProcessesFrom(const std::string& folder) {
    const LockedKnownProcesses processes;
    processesFolder() = folder;
    processes->forget();
}

ProcessSerialNumber serialNumberOf(const RunningApplication& application) {
    // The highest bit keeps clear of the serial numbers with a high word of 0, which mean something else.
    ProcessSerialNumber number;
    number.highLongOfPSN = 0x80000000u | static_cast<UInt32>(application.startTime & 0x7FFFFFFFu);
    number.lowLongOfPSN = static_cast<UInt32>(application.pid);
    return number;
}

} // namespace platform
