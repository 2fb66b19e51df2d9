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

/// Owner of one file descriptor: closes it when it goes. Not shared between threads.
class FileDescriptor {
public:
    FileDescriptor() = default;
    /// Takes the result of open(2) or the like; a negative one makes an empty owner.
    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor() {
        if (isOpen()) {
            const int error = errno; // a failing call's errno outlives the clean-up
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
/// need no particular access, such as locks; those of network file systems need the right to write.
/// @param flags  more flags for open(2)
FileDescriptor openWithSomeAccess(const std::string& path, int flags);

/// Opens a file for reading; never waits, and opens nothing but a regular file: a pipe in its place would
/// hang the caller, a device has no end. @return an empty owner, with errno EINVAL for what is no regular file
FileDescriptor openRegularFile(const std::string& path);

/// Reads an open regular file from its first byte to its end. @return false, with errno set and `content`
/// empty, when that fails; EFBIG: it holds more than `limit` bytes
bool readWhole(int descriptor, std::size_t limit, std::string& content);

/// Whether both describe one file, whatever paths lead to it.
inline bool isSameFile(const struct stat& one, const struct stat& other) {
    return one.st_ino == other.st_ino && one.st_dev == other.st_dev;
}

/// Whether the open file is the one that stands at `path` now.
bool isStillAt(const std::string& path, int descriptor);

/// Gives an open file of this user that owner and group, as far as this user may: only the superuser may give
/// a file away, but the group can be set by its members.
void keepOwner(int descriptor, uid_t owner, gid_t group);

/// Whether the error says that the file system does not know an operation at all (a lock, a flush, a rename
/// over a file), as some network file systems do, and some that are run by ordinary programs.
bool isUnsupported(int error);

/// Whether the error says that this user can put no new file into the folder, beside the file that was meant
/// or in its place: the folder may not be written, is read-only around a writable file, has no room for the
/// longer name or holds a foreign link under it, a file system is mounted on the file, or the file system can
/// make no such file or not rename it over another. Any other error (no descriptor or no room left) may be
/// gone for the next user.
bool forbidsNewFile(int error);

/// Reads until `size` bytes are there or the file ends. Returns their number; where they are fewer, errno is 0
/// at the end of the file, and otherwise tells what has failed. Async-signal-safe.
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

/// Writes all of the text, however many calls that takes. Returns the number of bytes that were written; errno
/// tells why they are fewer than the text has. Async-signal-safe.
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
