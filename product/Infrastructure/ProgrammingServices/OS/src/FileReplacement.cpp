#include "FileReplacement.h"

#include "FileDescriptor.h"
#include "PathBeside.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const int MAX_LINKS = 40; // as many as the kernel follows before it says ELOOP

std::string folderOf(const std::string& path) {
    const std::string::size_type slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return path.substr(0, slash == 0 ? 1 : slash);
}

/// The path that a chain of symbolic links ends in, whether or not a file is there yet. realpath cannot be
/// used: it fails for a link whose target is still to be created.
bool followLinks(std::string& path) {
    for (int followed = 0; followed < MAX_LINKS; ++followed) {
        char target[PATH_MAX];
        const ssize_t length = readlink(path.c_str(), target, sizeof(target));
        if (length < 0) {
            return errno == EINVAL || errno == ENOENT; // not a link, or nothing there yet
        }
        const std::string text(target, static_cast<size_t>(length));
        path = !text.empty() && text[0] == '/' ? text : folderOf(path) + "/" + text;
    }
    errno = ELOOP;
    return false;
}

bool writeAll(int descriptor, std::string_view content) {
    size_t written = 0;
    while (written < content.size()) {
        const ssize_t count = write(descriptor, content.data() + written, content.size() - written);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        written += static_cast<size_t>(count);
    }
    return true;
}

bool flush(int descriptor) {
#ifdef F_FULLFSYNC
    // Where it exists, fsync alone leaves the data in the drive's own cache.
    if (fcntl(descriptor, F_FULLFSYNC) == 0) {
        return true;
    }
#endif
    return fsync(descriptor) == 0;
}

void flushFolder(const std::string& folder) {
    // The rename has happened; a folder that cannot be flushed (some network file systems) takes nothing
    // back.
    const FileDescriptor descriptor(open(folder.c_str(), O_RDONLY | O_CLOEXEC));
    if (descriptor.isOpen()) {
        flush(descriptor.get());
    }
}

/// Opens and locks the file that is to become the new content. The name is fixed, so a killed process leaves
/// at most one such file, and the next replacement uses it up. The lock makes a second writer wait; when it
/// gets the lock, the first has renamed the file away, which the comparison of the two stats shows.
FileDescriptor openNewFile(const std::string& path) {
    for (;;) {
        FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
        if (!file.isOpen() || !lockExclusively(file.get())) {
            return FileDescriptor();
        }
        struct stat opened;
        struct stat named;
        if (fstat(file.get(), &opened) != 0) {
            return FileDescriptor();
        }
        if (lstat(path.c_str(), &named) != 0 || opened.st_ino != named.st_ino ||
            opened.st_dev != named.st_dev) {
            continue;
        }
        if (S_ISREG(opened.st_mode) && opened.st_nlink == 1 && opened.st_uid == geteuid()) {
            return file;
        }
        // Somebody else's leftover: its mode and owner would become the file's.
        if (unlink(path.c_str()) != 0) {
            return FileDescriptor();
        }
    }
}

void keepModeAndOwner(int descriptor, const struct stat& old) {
    // Only the superuser may give a file away; for others the writer owns it from now on. The group can be
    // kept by its members, for whom the group's part of the mode counts.
    if (fchown(descriptor, old.st_uid, old.st_gid) != 0 &&
        fchown(descriptor, static_cast<uid_t>(-1), old.st_gid) != 0) {
        errno = 0;
    }
    fchmod(descriptor, old.st_mode & 07777);
}

bool writeBeside(const std::string& path, const std::string& newPath, FileDescriptor file,
                 const struct stat* old, std::string_view content) {
    if (old != nullptr) {
        keepModeAndOwner(file.get(), *old);
    }
    if (ftruncate(file.get(), 0) == 0 && writeAll(file.get(), content) && flush(file.get()) &&
        rename(newPath.c_str(), path.c_str()) == 0) {
        flushFolder(folderOf(path));
        return true;
    }
    const int error = errno;
    unlink(newPath.c_str());
    errno = error;
    return false;
}

/// Reserves the space that the new content needs beyond the old. A file system that cannot reserve is not an
/// error: the write itself then tells.
bool reserve(int descriptor, off_t size) {
#ifdef F_PREALLOCATE
    struct stat old;
    fstore_t store = {F_ALLOCATEALL, F_PEOFPOSMODE, 0, 0, 0};
    if (fstat(descriptor, &old) != 0 || size <= old.st_size) {
        return true;
    }
    store.fst_length = size - old.st_size;
    return fcntl(descriptor, F_PREALLOCATE, &store) == 0 || errno == ENOTSUP || errno == EINVAL;
#else
    const int error = size > 0 ? posix_fallocate(descriptor, 0, size) : 0;
    errno = error;
    // EBADF: without the file system's help the C library looks at each block, which a file that may only be
    // written does not let it do.
    return error == 0 || error == EINVAL || error == EOPNOTSUPP || error == EBADF;
#endif
}

bool writeInPlace(const std::string& path, std::string_view content) {
    FileDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)); // reserving space may read
    if (!file.isOpen() && errno == EACCES) {
        file = FileDescriptor(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    }
    struct stat old;
    if (!file.isOpen() || fstat(file.get(), &old) != 0) {
        return false;
    }
    if (!S_ISREG(old.st_mode)) {
        return writeAll(file.get(), content);
    }
    if (!reserve(file.get(), static_cast<off_t>(content.size()))) {
        const int error = errno;
        if (ftruncate(file.get(), old.st_size) != 0) {
            errno = 0;
        }
        errno = error;
        return false;
    }
    return writeAll(file.get(), content) && ftruncate(file.get(), static_cast<off_t>(content.size())) == 0 &&
           flush(file.get());
}

} // namespace

bool FileReplacement::replace(const std::string& givenPath, std::string_view content) {
    std::string path = givenPath;
    if (!followLinks(path)) {
        return false;
    }
    struct stat old;
    const bool exists = stat(path.c_str(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) {
        return writeInPlace(path, content);
    }
    // A file that may not be written stays as it is, although its folder would allow to rename over it.
    if (exists && access(path.c_str(), W_OK) != 0) {
        return false;
    }
    const std::string newPath = pathBeside(path, ".new");
    FileDescriptor file = openNewFile(newPath);
    if (file.isOpen() && writeBeside(path, newPath, std::move(file), exists ? &old : nullptr, content)) {
        return true;
    }
    return forbidsNewFile(errno) && writeInPlace(path, content);
}
