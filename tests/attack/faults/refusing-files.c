/* A disk that cannot be written, and /proc and /sys that cannot be read. */

#define _GNU_SOURCE
#include "mapped-faults.h"

#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

#define NEXT(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

static int liesBelow(const char* path, const char* folder) {
    const size_t length = strlen(folder);
    return length != 0 && strncmp(path, folder, length) == 0 && (path[length] == '/' || path[length] == '\0');
}

static int refuse(int32_t error, uint64_t* count) {
    if (error == 0)
        return 0;
    __atomic_add_fetch(count, 1, __ATOMIC_RELAXED);
    errno = error;
    return 1;
}

static int refusesToLook(const char* path) {
    struct faults* const faults = mappedFaults();
    if (!faults || !path)
        return 0;
    if (liesBelow(path, "/proc"))
        return refuse(__atomic_load_n(&faults->proc_error, __ATOMIC_RELAXED), &faults->refused_looks);
    if (liesBelow(path, "/sys"))
        return refuse(__atomic_load_n(&faults->sys_error, __ATOMIC_RELAXED), &faults->refused_looks);
    return 0;
}

static int refusesToOpen(const char* path, int flags) {
    struct faults* const faults = mappedFaults();
    const int writes = (flags & O_ACCMODE) != O_RDONLY || (flags & O_CREAT);
    if (faults && path && writes && liesBelow(path, faults->disk_folder) &&
        refuse(__atomic_load_n(&faults->disk_error, __ATOMIC_RELAXED), &faults->refused_writes))
        return 1;
    return refusesToLook(path);
}

/* Allocates nothing, because a crash handler calls it, too. */
static int refusesToWrite(int descriptor) {
    struct faults* const faults = mappedFaults();
    char link[64];
    char path[PATH_MAX];
    if (!faults || __atomic_load_n(&faults->disk_error, __ATOMIC_RELAXED) == 0)
        return 0;
    snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    const ssize_t length = NEXT(readlink)(link, path, sizeof path - 1);
    if (length < 0)
        return 0;
    path[length] = '\0';
    return liesBelow(path, faults->disk_folder) &&
           refuse(__atomic_load_n(&faults->disk_error, __ATOMIC_RELAXED), &faults->refused_writes);
}

static mode_t modeOf(int flags, va_list* arguments) {
    return flags & O_CREAT || (flags & O_TMPFILE) == O_TMPFILE ? va_arg(*arguments, mode_t) : 0;
}

#define OPENING(name)                                                                                        \
    int name(const char* path, int flags, ...) {                                                             \
        va_list arguments;                                                                                   \
        va_start(arguments, flags);                                                                          \
        const mode_t mode = modeOf(flags, &arguments);                                                       \
        va_end(arguments);                                                                                   \
        return refusesToOpen(path, flags) ? -1 : NEXT(name)(path, flags, mode);                              \
    }

OPENING(open)
OPENING(open64)

FILE* fopen64(const char* path, const char* mode) {
    return refusesToLook(path) ? NULL : NEXT(fopen64)(path, mode);
}

DIR* opendir(const char* path) {
    return refusesToLook(path) ? NULL : NEXT(opendir)(path);
}

ssize_t readlink(const char* path, char* buffer, size_t size) {
    return refusesToLook(path) ? -1 : NEXT(readlink)(path, buffer, size);
}

int stat(const char* path, struct stat* status) {
    return refusesToLook(path) ? -1 : NEXT(stat)(path, status);
}

int stat64(const char* path, struct stat64* status) {
    return refusesToLook(path) ? -1 : NEXT(stat64)(path, status);
}

int access(const char* path, int mode) {
    return refusesToLook(path) ? -1 : NEXT(access)(path, mode);
}

ssize_t write(int descriptor, const void* bytes, size_t length) {
    return refusesToWrite(descriptor) ? -1 : NEXT(write)(descriptor, bytes, length);
}

ssize_t writev(int descriptor, const struct iovec* pieces, int count) {
    return refusesToWrite(descriptor) ? -1 : NEXT(writev)(descriptor, pieces, count);
}

ssize_t pwrite(int descriptor, const void* bytes, size_t length, off_t at) {
    return refusesToWrite(descriptor) ? -1 : NEXT(pwrite)(descriptor, bytes, length, at);
}
