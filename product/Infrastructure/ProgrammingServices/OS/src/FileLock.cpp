#include "FileLock.h"

#include "PathBeside.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace {

// Read-only is enough for a lock, and lets every user take one that another user has made.
const int OPEN_FLAGS = O_RDONLY | O_NONBLOCK | O_CLOEXEC;

bool isStillAt(const std::string& path, int descriptor) {
    struct stat opened;
    struct stat named;
    return fstat(descriptor, &opened) == 0 && stat(path.c_str(), &named) == 0 &&
           opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

/// The lock of the file itself. While this process waited for it, the file may have been replaced.
FileDescriptor lockItself(const std::string& path) {
    for (;;) {
        FileDescriptor file(open(path.c_str(), OPEN_FLAGS));
        if (!file.isOpen() || !lockExclusively(file.get())) {
            return FileDescriptor();
        }
        if (isStillAt(path, file.get())) {
            return file;
        }
    }
}

} // namespace

FileLock::FileLock(const std::string& path)
    : m_file(open(pathBeside(path, ".lock").c_str(), OPEN_FLAGS | O_CREAT | O_NOFOLLOW, 0666)) {
    if (m_file.isOpen()) {
        if (!lockExclusively(m_file.get())) {
            m_file = FileDescriptor();
        }
    } else if (forbidsNewFile(errno)) { // else the next user might make the lock file, and hold another lock
        m_file = lockItself(path);
    }
}
