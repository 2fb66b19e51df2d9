/* Preloaded into each measured launcher: sends a mark whenever the main thread has nothing left to do and
   waits for events. All launchers have the same probe, and none is changed for it.

   At its first wait the program is armed. Programs that it starts from then on get no preloaded library, so
   that they cost the same as outside of a benchmark. */

#include "mark.h"

#include <dlfcn.h>
#include <poll.h>
#include <sys/epoll.h>

static void tellThatItWaits(void) {
    sendMark(MARK_WAITS, markClock());
    unsetenv("LD_PRELOAD");
}

static int isMainThread(void) {
    return getpid() == gettid();
}

/* Before a call that may wait, tries the same call without waiting: only if nothing is ready is the mark
   sent. */
#define TELL_BEFORE(waits, attempt)                                                                          \
    if ((waits) && isMainThread()) {                                                                         \
        const int ready = (attempt);                                                                         \
        if (ready != 0)                                                                                      \
            return ready;                                                                                    \
        tellThatItWaits();                                                                                   \
    }

int poll(struct pollfd* files, nfds_t count, int timeout) {
    static int (*next)(struct pollfd*, nfds_t, int);
    if (!next)
        *(void**)&next = dlsym(RTLD_NEXT, "poll");
    TELL_BEFORE(timeout != 0, next(files, count, 0))
    return next(files, count, timeout);
}

int ppoll(struct pollfd* files, nfds_t count, const struct timespec* timeout, const sigset_t* signals) {
    static int (*next)(struct pollfd*, nfds_t, const struct timespec*, const sigset_t*);
    const struct timespec none = {0, 0};
    if (!next)
        *(void**)&next = dlsym(RTLD_NEXT, "ppoll");
    TELL_BEFORE(!timeout || timeout->tv_sec != 0 || timeout->tv_nsec != 0, next(files, count, &none, signals))
    return next(files, count, timeout, signals);
}

int epoll_wait(int epoll, struct epoll_event* events, int count, int timeout) {
    static int (*next)(int, struct epoll_event*, int, int);
    if (!next)
        *(void**)&next = dlsym(RTLD_NEXT, "epoll_wait");
    TELL_BEFORE(timeout != 0, next(epoll, events, count, 0))
    return next(epoll, events, count, timeout);
}
