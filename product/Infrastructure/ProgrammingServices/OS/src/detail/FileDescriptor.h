#pragma once

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

namespace kf::detail {

/// Owns one file descriptor, and closes it on destruction. Not shared between threads.
class FileDescriptor {
public:
    FileDescriptor() = default;
    /// Takes ownership of the result of open(2) or the like; a negative one makes an empty owner.
    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor() {
        if (isOpen()) {
            const int error = errno; // keeps the error of the call that failed before
            close(m_descriptor);
            errno = error;
        }
    }

    bool isOpen() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }

private:
    int m_descriptor = -1;
};

/// Opens a file with the access that this user has: to read and write it, else one of the two. For uses that
/// need no particular access, such as locks; locks of network file systems need write access.
/// @param flags  more flags for open(2)
FileDescriptor openWithSomeAccess(const std::string& path, int flags);

/// Opens a file for reading, and only a regular file: a pipe could block the caller for ever, a device has no
/// end.
/// @return an empty owner on failure; errno is EINVAL if it is not a regular file
FileDescriptor openRegularFile(const std::string& path);

/// Reads an open regular file from its first byte to its end.
/// @return false on failure, with errno set and `content` empty; EFBIG: the file holds more than `limit`
/// bytes
bool readWhole(int descriptor, std::size_t limit, std::string& content);

/// Whether both describe the same file, whatever their paths.
inline bool isSameFile(const struct stat& one, const struct stat& other) {
    return one.st_ino == other.st_ino && one.st_dev == other.st_dev;
}

/// Whether `path` leads to the open file now.
bool isStillAt(const std::string& path, int descriptor);

/// Sets owner and group of an open file, as far as this user may: only the superuser may give a file away,
/// but a member of the group may set the group.
void keepOwner(int descriptor, uid_t owner, gid_t group);

/// Whether the error means that the file system does not support an operation at all (a lock, a flush, a
/// rename over a file). Some network file systems do not, and some that run in user space.
bool isUnsupported(int error);

/// Whether the error means that this user can create no new file in the folder, beside a file or in its
/// place: the folder is not writable, or read-only around a writable file; it does not allow the longer name,
/// or holds a foreign link under it; a file system is mounted on the file; or the file system cannot create
/// such a file, or not rename it over another. Any other error (no descriptors or no space left) may be
/// temporary.
bool forbidsNewFile(int error);

/// Reads until `size` bytes are read or the file ends. Returns their number. If they are fewer, errno is 0 at
/// the end of the file, and otherwise the error. Async-signal-safe.
inline std::size_t readFully(int descriptor, char* to, std::size_t size) {
    std::size_t length = 0;
    errno = 0;
    while (length < size) {
        const ssize_t count = read(descriptor, to + length, size - length);
        if (count < 0 && errno == EINTR) {
            errno = 0;
            continue;
        }
        if (count <= 0)
            break;
        length += static_cast<std::size_t>(count);
    }
    return length;
}

/// Writes all of the text, with as many calls as that takes. Returns the number of bytes written; if they are
/// fewer than the text has, errno is the error. Async-signal-safe.
inline std::size_t writeFully(int descriptor, std::string_view text) {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = write(descriptor, text.data() + written, text.size() - written);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        written += static_cast<std::size_t>(count);
    }
    return written;
}

} // namespace kf::detail
