#pragma once

/* A mark says what a measured program did and when. It is sent to the benchmark through a named pipe. */

#ifndef _GNU_SOURCE
#define _GNU_SOURCE
#endif
#include <fcntl.h>
#include <stdint.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#define MARK_PIPE_VARIABLE "ZEVO_BENCH_MARKS"

enum MarkKind { MARK_WAITS, MARK_MAIN_APPLICATION, MARK_NOTIFIER };

struct Mark {
    int64_t nanoseconds; /* of the monotonic clock */
    int64_t kind;
};

static inline int64_t markClock(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (int64_t)now.tv_sec * 1000000000 + now.tv_nsec;
}

static inline void sendMark(enum MarkKind kind, int64_t nanoseconds) {
    const struct Mark mark = {nanoseconds, kind};
    const char* path = getenv(MARK_PIPE_VARIABLE);
    const int pipe = path ? open(path, O_WRONLY | O_NONBLOCK | O_CLOEXEC) : -1;
    if (pipe < 0)
        return;
    if (write(pipe, &mark, sizeof mark) < 0)
        abort(); /* the pipe cannot be full: it has room for thousands of marks */
    close(pipe);
}
