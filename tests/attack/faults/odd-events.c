/* Events come twice, in another order, or without their second half. */

#define _GNU_SOURCE
#include "mapped-faults.h"
#include "monitor-socket.h"

#include <dlfcn.h>
#include <errno.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/uio.h>

struct message {
    char bytes[65536];
    size_t length;
    struct sockaddr_storage sender;
    socklen_t senderLength;
    char credentials[512];
    size_t credentialsLength;
};

/* Messages that were taken from the socket and are not delivered yet. */
static struct message kept[2];
static int keptCount = 0;

static int take(int socket, struct message* message) {
    ssize_t (*next)(int, struct msghdr*, int) =
        (ssize_t(*)(int, struct msghdr*, int))dlsym(RTLD_NEXT, "recvmsg");
    struct iovec room = {message->bytes, sizeof message->bytes};
    struct msghdr header = {.msg_name = &message->sender,
                            .msg_namelen = sizeof message->sender,
                            .msg_iov = &room,
                            .msg_iovlen = 1,
                            .msg_control = message->credentials,
                            .msg_controllen = sizeof message->credentials};
    const ssize_t length = next(socket, &header, MSG_DONTWAIT);
    if (length < 0)
        return 0;
    message->length = (size_t)length;
    message->senderLength = header.msg_namelen;
    message->credentialsLength = header.msg_controllen;
    return 1;
}

/* Whether the next message is taken from kept[], or must be spoilt, and so does not come directly from the
   socket. */
static int isSpoilt(const struct faults* faults, int socket) {
    return faults && isMonitor(socket) &&
           (keptCount > 0 || __atomic_load_n(&faults->event_fault, __ATOMIC_RELAXED) != EVENTS_WHOLE);
}

/* Puts the next message into kept[0]; returns 0 and sets errno if there is none. */
static int fetch(int socket, struct faults* faults) {
    const int fault = __atomic_load_n(&faults->event_fault, __ATOMIC_RELAXED);
    if (keptCount > 0)
        return 1;
    if (!take(socket, &kept[0]))
        return 0;
    keptCount = 1;
    if (fault == EVENTS_WHOLE)
        return 1;
    if (fault == EVENTS_CUT)
        kept[0].length /= 2;
    if (fault == EVENTS_TWICE) {
        kept[1] = kept[0];
        keptCount = 2;
    }
    if (fault == EVENTS_EXCHANGED) {
        kept[1] = kept[0];
        if (!take(socket, &kept[0])) { /* no other to exchange it with */
            kept[0] = kept[1];
            return 1;
        }
        keptCount = 2;
    }
    __atomic_add_fetch(&faults->touched_events, 1, __ATOMIC_RELAXED);
    return 1;
}

/* libudev first asks for the message's size: it peeks with an empty buffer. */
ssize_t recv(int socket, void* buffer, size_t size, int flags) {
    ssize_t (*next)(int, void*, size_t, int) = (ssize_t(*)(int, void*, size_t, int))dlsym(RTLD_NEXT, "recv");
    struct faults* const faults = mappedFaults();
    if (!(flags & MSG_PEEK) || !isSpoilt(faults, socket))
        return next(socket, buffer, size, flags);
    if (!fetch(socket, faults))
        return -1;
    memcpy(buffer, kept[0].bytes, kept[0].length < size ? kept[0].length : size);
    return (ssize_t)kept[0].length;
}

ssize_t recvmsg(int socket, struct msghdr* message, int flags) {
    ssize_t (*next)(int, struct msghdr*, int) =
        (ssize_t(*)(int, struct msghdr*, int))dlsym(RTLD_NEXT, "recvmsg");
    struct faults* const faults = mappedFaults();
    if (!isSpoilt(faults, socket))
        return next(socket, message, flags);
    if (!fetch(socket, faults))
        return -1;
    const size_t room = message->msg_iov[0].iov_len;
    const size_t length = kept[0].length < room ? kept[0].length : room;
    memcpy(message->msg_iov[0].iov_base, kept[0].bytes, length);
    if (message->msg_name) {
        const socklen_t part =
            kept[0].senderLength < message->msg_namelen ? kept[0].senderLength : message->msg_namelen;
        memcpy(message->msg_name, &kept[0].sender, part);
        message->msg_namelen = part;
    }
    if (message->msg_control && message->msg_controllen >= kept[0].credentialsLength) {
        memcpy(message->msg_control, kept[0].credentials, kept[0].credentialsLength);
        message->msg_controllen = kept[0].credentialsLength;
    }
    message->msg_flags = 0;
    kept[0] = kept[1];
    --keptCount;
    return (ssize_t)length;
}
