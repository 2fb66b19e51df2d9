#include "KnownProcesses.h"

#include "Diagnostics.h"
#include "ProcessFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace LinuxPlatform {

namespace {

/// The number of processes, with one call: a folder has two links, and one more for each folder in it. In a
/// PID namespace of its own, /proc counts the processes of all (proc_root_getattr() in the kernel's
/// fs/proc/root.c). -1 if it cannot be read.
long countProcesses(long otherFolders) {
    struct stat folder;
    return ::stat(processesFolder().c_str(), &folder) == 0
               ? static_cast<long>(folder.st_nlink) - 2 - otherFolders
               : -1;
}

/// In the /proc of another PID namespace, the ids are those of other processes.
bool isListOfThisProcess() {
    char target[32];
    const ssize_t length = ::readlink((processesFolder() + "/self").c_str(), target, sizeof target);
    return length > 0 && std::string(target, static_cast<std::size_t>(length)) == std::to_string(::getpid());
}

} // namespace

SInt64 ProcessorClock::now() const {
    struct timespec time;
    if (!m_isThere || ::clock_gettime(m_clock, &time) != 0)
        return -1;
    return static_cast<SInt64>(time.tv_sec) * 1000000000 + time.tv_nsec;
}

KnownProcesses& KnownProcesses::get() {
    static KnownProcesses& processes = *new KnownProcesses;
    return processes;
}

int KnownProcesses::visit(const std::string& root, uid_t user, const Inspect& inspect) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (root != m_root || user != m_user)
        m_known.clear();
    m_root = root;
    m_user = user;
    const int error = visitAll(inspect);
    if (error == 0 || error == ESRCH)
        reportMissingList(error == 0);
    return error;
}

void KnownProcesses::add(pid_t pid) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto position = positionOf(pid);
    if (position != m_known.end() && position->pid == pid)
        position->time = INSPECT_AGAIN;
    else
        m_known.insert(position, {pid, ProcessorClock(pid), INSPECT_AGAIN, false});
}

void KnownProcesses::forget() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_known.clear();
}

std::vector<KnownProcesses::Known>::iterator KnownProcesses::positionOf(pid_t pid) {
    return std::lower_bound(
        m_known.begin(), m_known.end(), pid, [](const Known& known, pid_t id) { return known.pid < id; });
}

bool KnownProcesses::isKnown(pid_t pid) {
    const auto position = positionOf(pid);
    return position != m_known.end() && position->pid == pid;
}

int KnownProcesses::visitAll(const Inspect& inspect) {
    const long count = countProcesses(m_otherFolders);
    int error = visitKnown(inspect);
    if (error == 0 && (static_cast<long>(m_known.size()) != count || !isKnown(::getpid())))
        error = visitOthers(inspect);
    return error == 0 && !isKnown(::getpid()) ? ESRCH : error;
}

int KnownProcesses::visitKnown(const Inspect& inspect) {
    int error = 0;
    for (Known& known : m_known) {
        // Read first, so that what the process does during the inspection shows next time.
        const SInt64 time = known.clock.now();
        known.hasEnded = time < 0;
        if (known.hasEnded || time == known.time)
            continue;
        known.time = INSPECT_AGAIN; // also if the inspection fails
        bool isApplication = false;
        error = inspect(known.pid, isApplication);
        if (error != 0)
            return error;
        if (!isApplication)
            known.time = time;
    }
    const auto hasEnded = [](const Known& known) { return known.hasEnded; };
    m_known.erase(std::remove_if(m_known.begin(), m_known.end(), hasEnded), m_known.end());
    return 0;
}

int KnownProcesses::visitOthers(const Inspect& inspect) {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(processesFolder().c_str()), &::closedir);
    if (folder == nullptr)
        return isLackOfMeans(errno) ? errno : ESRCH;
    if (!isListOfThisProcess())
        return ESRCH;
    std::vector<Known> others;
    long otherFolders = 0;
    while (const struct dirent* entry = ::readdir(folder.get())) {
        const auto pid = static_cast<pid_t>(std::strtol(entry->d_name, nullptr, 10));
        if (pid <= 0) {
            otherFolders += entry->d_type == DT_DIR && entry->d_name[0] != '.' ? 1 : 0;
            continue;
        }
        if (isKnown(pid))
            continue;
        const ProcessorClock clock(pid);
        const SInt64 time = clock.now();
        bool isApplication = false;
        const int error = inspect(pid, isApplication);
        if (error != 0)
            return error;
        if (time >= 0)
            others.push_back({pid, clock, isApplication ? INSPECT_AGAIN : time, false});
    }
    m_known.insert(m_known.end(), others.begin(), others.end());
    std::sort(m_known.begin(), m_known.end(),
              [](const Known& left, const Known& right) { return left.pid < right.pid; });
    m_otherFolders = otherFolders;
    return 0;
}

void KnownProcesses::reportMissingList(bool isThere) {
    if (!isThere && m_isThere)
        report("CoreServices: %s does not show this process, so it tells of no other either; "
               "no application will be started",
               processesFolder().c_str());
    m_isThere = isThere;
}

} // namespace LinuxPlatform
