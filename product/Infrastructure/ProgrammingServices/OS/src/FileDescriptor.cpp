#include "FileDescriptor.h"

#include <algorithm>
#include <fcntl.h>
#include <initializer_list>
#include <sys/stat.h>

namespace {

bool isOneOf(int error, std::initializer_list<int> errors) {
    return std::find(errors.begin(), errors.end(), error) != errors.end();
}

} // namespace

FileDescriptor openWithSomeAccess(const std::string& path, int flags) {
    FileDescriptor file;
    for (const int access : {O_RDWR, O_RDONLY, O_WRONLY}) {
        file = FileDescriptor(open(path.c_str(), access | flags | O_CLOEXEC));
        if (file.isOpen() || !isOneOf(errno, {EACCES, EPERM, EROFS})) {
            break;
        }
    }
    return file;
}

bool isStillAt(const std::string& path, int descriptor) {
    struct stat opened;
    struct stat named;
    return fstat(descriptor, &opened) == 0 && stat(path.c_str(), &named) == 0 &&
           opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

void keepOwner(int descriptor, uid_t owner, gid_t group) {
    if (fchown(descriptor, owner, group) != 0 && fchown(descriptor, static_cast<uid_t>(-1), group) != 0) {
        errno = 0; // the writer owns it from now on
    }
}

bool isUnsupported(int error) {
    return isOneOf(error, {EINVAL, ENOTSUP, EOPNOTSUPP, ENOSYS, ENOLCK});
}

bool forbidsNewFile(int error) {
    return isUnsupported(error) || isOneOf(error, {EPERM, EACCES, EROFS, EBUSY, ELOOP, ENAMETOOLONG, EEXIST});
}
