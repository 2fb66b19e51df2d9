#include "LaunchLock.h"

#include "Bundles.h"
#include "Diagnostics.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace LinuxPlatform {

namespace {

/// Whether a folder is this user's, and nobody else can create a file or a link in it. If not, errno is the
/// reason.
bool isPrivate(const std::string& folder) {
    struct stat found;
    if (::lstat(folder.c_str(), &found) != 0)
        return false;
    if (!S_ISDIR(found.st_mode))
        errno = ENOTDIR;
    else if (found.st_uid != ::geteuid() || (found.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        errno = EPERM;
    else
        return true;
    return false;
}

} // namespace

LaunchLock::LaunchLock(const std::string& file, std::chrono::milliseconds longest) : m_path(file) {
    const auto deadline = std::chrono::steady_clock::now() + longest;
    while (open() && !lock()) {
        // Polled: no call waits for a lock with a time limit.
        if (errno == EWOULDBLOCK && std::chrono::steady_clock::now() >= deadline)
            errno = ETIMEDOUT;
        if (errno != EWOULDBLOCK) {
            close();
            break;
        }
        const struct timespec pause = {0, 1000 * 1000};
        ::nanosleep(&pause, nullptr);
    }
    if (!isHeld())
        report("CoreServices: no lock for starting applications (%s: %s); another launcher may "
               "start the same one",
               m_path.c_str(), std::strerror(errno));
}

LaunchLock::~LaunchLock() {
    if (isHeld())
        ::unlink(m_path.c_str());
    close();
}

bool LaunchLock::open() {
    if (m_file >= 0)
        return true;
    const std::string folder = m_path.substr(0, m_path.rfind('/'));
    ::mkdir(folder.c_str(), 0700);
    if (isPrivate(folder))
        m_file = ::open(m_path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    return m_file >= 0;
}

/// False, with EWOULDBLOCK, if it has to be tried again.
bool LaunchLock::lock() {
    if (::flock(m_file, LOCK_EX | LOCK_NB) != 0)
        return false;
    struct stat locked;
    if (::fstat(m_file, &locked) == 0 && locked.st_nlink > 0)
        return true;
    close(); // its last holder has removed it; the next open() creates another one
    errno = EWOULDBLOCK;
    return false;
}

void LaunchLock::close() {
    const int error = errno;
    if (m_file >= 0)
        ::close(m_file);
    m_file = -1;
    errno = error;
}

std::string launchLockFile() {
    // FNV-1a: the same in every build, so that two versions of the launcher agree.
    std::uint64_t hash = 14695981039346656037u;
    for (const char character : rootFolder())
        hash = (hash ^ static_cast<unsigned char>(character)) * 1099511628211u;
    char name[64];
    std::snprintf(name, sizeof name, "/zevolauncher-%016llx.lock", static_cast<unsigned long long>(hash));
    const std::string user = std::to_string(::geteuid());
    const std::string session = "/run/user/" + user;
    return (isPrivate(session) ? session : "/tmp/zevolauncher-" + user) + name;
}

} // namespace LinuxPlatform
