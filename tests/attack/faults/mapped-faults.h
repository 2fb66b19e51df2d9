#pragma once

#include "faults.h"

/* The shared page; null where there is none, or where this process is not the launcher: what it starts is spared. */
struct faults* mappedFaults(void);
