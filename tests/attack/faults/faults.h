/* What a test and the library that it has preloaded into the launcher share: one page of a file, mapped by both. The
   test writes the wishes and reads the counts, also while the launcher runs. All fields are read and written with
   __atomic operations. */
#pragma once

#include <limits.h>
#include <stdint.h>

/* The environment variable that names the file. */
#define ZEVO_FAULT_FILE "ZEVO_FAULT_FILE"

enum event_fault { EVENTS_WHOLE, EVENTS_TWICE, EVENTS_EXCHANGED, EVENTS_CUT };

struct faults {
    /* Memory. The allocation with the number fail_from fails (the first has 1; 0: none does), and fail_more behind it. */
    uint64_t allocations;
    uint64_t fail_from;
    uint64_t fail_more;
    uint64_t failed_allocations;

    /* Files below this folder: opening them for writing, and every write, fails with disk_error; 0: they work. */
    char disk_folder[PATH_MAX];
    int32_t disk_error;
    uint64_t refused_writes;

    /* What opens or reads anything below /proc or /sys fails with this; 0: it works. */
    int32_t proc_error;
    int32_t sys_error;
    uint64_t refused_looks;

    /* The clock that people set, in seconds ahead of the real one. The monotonic one goes on. */
    int64_t clock_shift;

    /* What becomes of the events on their way from the kernel. */
    int32_t event_fault; /* enum event_fault */
    uint64_t touched_events;
};
