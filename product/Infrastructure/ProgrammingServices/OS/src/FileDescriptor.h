#pragma once

#include <cerrno>
#include <cstddef>
#include <string_view>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

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

/// Whether the error says that this user can put no new file into the folder, beside the file that was meant
/// or in its place: the folder may not be written, is read-only around a writable file, has no room for the
/// longer name or holds a foreign link under it, or a file system is mounted on the file. Any other error (no
/// descriptor or no room left) may be gone for the next user.
inline bool forbidsNewFile(int error) {
    return error == EPERM || error == EACCES || error == EROFS || error == EBUSY || error == ELOOP ||
           error == ENAMETOOLONG;
}

/// Waits for the exclusive advisory lock of an open file. The lock belongs to the open file: it goes when the
/// last copy of the descriptor is closed, at the latest when the process ends, however it ends.
inline bool lockExclusively(int descriptor) {
    int result = 0;
    do {
        result = flock(descriptor, LOCK_EX);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

/// Writes all of the text, however many calls that takes. Returns the number of bytes that were written;
/// errno tells why they are fewer than the text has. Fit for a signal handler.
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
