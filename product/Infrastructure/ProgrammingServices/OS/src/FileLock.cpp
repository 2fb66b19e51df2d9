#include "FileLock.h"

#include <fcntl.h>

FileLock::FileLock(const std::string& path)
    // Read-only is enough for a lock, and lets every user take one that another user has made.
    : m_file(open((path + ".lock").c_str(), O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666)) {
    if (!m_file.isOpen()) {
        m_file = FileDescriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    }
    if (m_file.isOpen() && !lockExclusively(m_file.get())) {
        m_file = FileDescriptor();
    }
}
