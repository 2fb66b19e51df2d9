#pragma once

#include "faults.h"

/* The shared memory; null if there is none or this process is not the launcher: the programs that it starts
   see no faults. */
struct faults* mappedFaults(void);
