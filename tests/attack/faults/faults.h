/* The memory that a test shares with the library that it preloads into the launcher: a file that both map.
   The test switches faults on and off and reads the counts, also while the launcher runs. Both access all
   fields but disk_folder with __atomic operations; disk_folder is set before disk_error. */
#pragma once

#include <limits.h>
#include <stdint.h>

/* The environment variable that names the file. */
#define ZEVO_FAULT_FILE "ZEVO_FAULT_FILE"

enum event_fault { EVENTS_WHOLE, EVENTS_TWICE, EVENTS_EXCHANGED, EVENTS_CUT };

struct faults {
    /* Memory: allocation number fail_from (the first is 1; 0: none) and the fail_more allocations after it
       fail. */
    uint64_t allocations;
    uint64_t fail_from;
    uint64_t fail_more;
    uint64_t failed_allocations;

    /* Opening a file below this folder for writing, and writing into one, fails with disk_error; 0: both
       work. */
    char disk_folder[PATH_MAX];
    int32_t disk_error;
    uint64_t refused_writes;

    /* Opening, listing or querying a path below /proc or /sys fails with this; 0: it works. */
    int32_t proc_error;
    int32_t sys_error;
    uint64_t refused_looks;

    /* How many seconds the wall clock is ahead of the real one. The monotonic clock is not shifted. */
    int64_t clock_shift;

    /* How events are spoilt on their way from the kernel. */
    int32_t event_fault; /* enum event_fault */
    uint64_t touched_events;
};
