#include "LauncherLock.h"

#include "CallMarker.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

LauncherLock::LauncherLock(const std::string& folder)
    : m_file(open((folder + "launcher.lock").c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0644)) {
    TRACE_CONSTRUCTOR("LauncherLock");
    if (!m_file.isOpen())
        return;
    m_isHeldByAnother = flock(m_file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (!m_isHeldByAnother)
        noteProcess();
}

LauncherLock::~LauncherLock() {
    TRACE_DESTRUCTOR("LauncherLock");
}

long LauncherLock::otherProcess() const {
    TRACE_METHOD();
    char text[32] = {};
    const ssize_t length = pread(m_file.get(), text, sizeof text - 1, 0);
    return length > 0 ? std::strtol(text, nullptr, 10) : 0;
}

void LauncherLock::waitForIt() {
    TRACE_METHOD();
    while (flock(m_file.get(), LOCK_EX) != 0 && errno == EINTR) {
    }
    m_isHeldByAnother = false;
    noteProcess();
}

void LauncherLock::noteProcess() {
    TRACE_METHOD();
    const std::string process = std::to_string(getpid()) + "\n";
    // Only for support and for the next launcher's message. The lock is held even if this fails. Truncating first would
    // free the file's block and take another one, at every start.
    struct stat status;
    const auto size = static_cast<off_t>(process.size());
    const bool isLonger = fstat(m_file.get(), &status) == 0 && status.st_size > size;
    if (pwrite(m_file.get(), process.data(), process.size(), 0) < 0 ||
        (isLonger && ftruncate(m_file.get(), size) != 0))
        return;
}
