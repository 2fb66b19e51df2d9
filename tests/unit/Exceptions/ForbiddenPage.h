#pragma once

#include <sys/mman.h>

/// Faults without undefined behaviour: writes to a page that is mapped without access.
inline void touchAForbiddenPage() {
    void* const page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANON, -1, 0);
    *static_cast<volatile char*>(page) = 1;
}
