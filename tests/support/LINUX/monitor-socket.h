#pragma once

#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>

/* For libraries that are preloaded into the launcher: whether events come from this socket. The virtual bus stands a
   local datagram socket in for the kernel's; the launcher has no other. */
static int isMonitor(int socket) {
    struct sockaddr_un address;
    socklen_t length = sizeof address;
    int type = 0;
    socklen_t typeLength = sizeof type;
    memset(&address, 0, sizeof address);
    return getsockopt(socket, SOL_SOCKET, SO_TYPE, &type, &typeLength) == 0 && type == SOCK_DGRAM &&
           getsockname(socket, (struct sockaddr*)&address, &length) == 0 && address.sun_family == AF_UNIX;
}
