#include "WrappedCalls.h"

#include "Substitute.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <sys/xattr.h>

// Replacements of the calls that only this host's code makes.

SUBSTITUTE(int, fsetxattr, (int descriptor, const char* name, const void* value, size_t size, int flags)) {
    const int error = WrappedCalls::get().accessListError;
    if (error != 0 && strcmp(name, "system.posix_acl_access") == 0) {
        errno = error;
        return -1;
    }
    return ORIGINAL(fsetxattr)(descriptor, name, value, size, flags);
}

// For readdir and readdir64: the width of a file offset decides which one the code calls.
static dirent* withoutType(dirent* entry) {
    if (entry != nullptr && WrappedCalls::get().entryTypesHidden)
        entry->d_type = DT_UNKNOWN;
    return entry;
}

SUBSTITUTE(dirent*, readdir, (DIR * directory)) {
    return withoutType(ORIGINAL(readdir)(directory));
}

SUBSTITUTE(dirent*, readdir64, (DIR * directory)) {
    return withoutType(ORIGINAL(readdir64)(directory));
}
