/* Preloaded into the launcher: the kernel loses device events, as it does when a reader is too slow.

   While the file named by ZEVO_LOSE_EVENTS exists, events on the udev monitor's socket are discarded, and
   each appends one byte to that file. Once the file is gone, the next read from the socket fails with
   ENOBUFS, once, as the kernel reports such a loss. */

#define _GNU_SOURCE
#include "monitor-socket.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

static int lossToReport = 0;

static void throwEventsAway(int socket, const char* path) {
    ssize_t (*realRecv)(int, void*, size_t, int) =
        (ssize_t(*)(int, void*, size_t, int))dlsym(RTLD_NEXT, "recv");
    char event[1];
    while (realRecv(socket, event, sizeof event, MSG_DONTWAIT | MSG_TRUNC) > 0) {
        const int file = open(path, O_WRONLY | O_APPEND | O_CLOEXEC);
        lossToReport = 1;
        if (file >= 0) {
            if (write(file, "x", 1) != 1)
                abort();
            close(file);
        }
    }
}

/* Whether a read from the socket is to fail; then sets errno. */
static int readingFails(int socket) {
    const char* path = getenv("ZEVO_LOSE_EVENTS");
    if (!path || !isMonitor(socket))
        return 0;
    if (access(path, F_OK) == 0) {
        throwEventsAway(socket, path);
        errno = EAGAIN;
        return 1;
    }
    if (!lossToReport)
        return 0;
    lossToReport = 0;
    errno = ENOBUFS;
    return 1;
}

ssize_t recv(int socket, void* buffer, size_t size, int flags) {
    ssize_t (*next)(int, void*, size_t, int) = (ssize_t(*)(int, void*, size_t, int))dlsym(RTLD_NEXT, "recv");
    return readingFails(socket) ? -1 : next(socket, buffer, size, flags);
}

ssize_t recvmsg(int socket, struct msghdr* message, int flags) {
    ssize_t (*next)(int, struct msghdr*, int) =
        (ssize_t(*)(int, struct msghdr*, int))dlsym(RTLD_NEXT, "recvmsg");
    return readingFails(socket) ? -1 : next(socket, message, flags);
}
