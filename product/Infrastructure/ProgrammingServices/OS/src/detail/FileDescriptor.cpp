#include "detail/FileDescriptor.h"

#include <algorithm>
#include <fcntl.h>
#include <initializer_list>

namespace kf::detail {

namespace {

bool isOneOf(int error, std::initializer_list<int> errors) {
    return std::find(errors.begin(), errors.end(), error) != errors.end();
}

} // namespace

FileDescriptor openWithSomeAccess(const std::string& path, int flags) {
    FileDescriptor file;
    for (const int access : {O_RDWR, O_RDONLY, O_WRONLY}) {
        file = FileDescriptor(open(path.c_str(), access | flags | O_CLOEXEC));
        if (file.isOpen() || !isOneOf(errno, {EACCES, EPERM, EROFS}))
            break;
    }
    return file;
}

FileDescriptor openRegularFile(const std::string& path) {
    FileDescriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status;
    if (!file.isOpen() || fstat(file.get(), &status) != 0)
        return FileDescriptor();
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return FileDescriptor();
    }
    return file;
}

bool readWhole(int descriptor, std::size_t limit, std::string& content) {
    content.clear();
    struct stat status;
    if (fstat(descriptor, &status) != 0)
        return false;
    if (static_cast<unsigned long long>(status.st_size) > limit) {
        errno = EFBIG;
        return false;
    }
    std::size_t length = 0;
    std::size_t room = static_cast<std::size_t>(status.st_size) + 1; // one more, to see the end of the file
    for (;;) {
        content.resize(room);
        length += readFully(descriptor, &content[length], room - length);
        if (length < room || length > limit)
            break;
        room = std::min(2 * room, limit + 1); // the file has grown meanwhile
    }
    if (length > limit)
        errno = EFBIG;
    content.resize(errno == 0 ? length : 0);
    return errno == 0;
}

bool isStillAt(const std::string& path, int descriptor) {
    struct stat opened;
    struct stat named;
    return fstat(descriptor, &opened) == 0 && stat(path.c_str(), &named) == 0 && isSameFile(opened, named);
}

void keepOwner(int descriptor, uid_t owner, gid_t group) {
    if (fchown(descriptor, owner, group) != 0 && fchown(descriptor, static_cast<uid_t>(-1), group) != 0)
        errno = 0; // the writer owns the file from now on
}

bool isUnsupported(int error) {
    return isOneOf(error, {EINVAL, ENOTSUP, EOPNOTSUPP, ENOSYS, ENOLCK});
}

bool forbidsNewFile(int error) {
    return isUnsupported(error) || isOneOf(error, {EPERM, EACCES, EROFS, EBUSY, ELOOP, ENAMETOOLONG, EEXIST});
}

} // namespace kf::detail
