#pragma once

#include <sys/mman.h>

/// A page that may not be touched: a fault for which no undefined behaviour is needed.
inline void touchAForbiddenPage() {
    void* const page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANON, -1, 0);
    *static_cast<volatile char*>(page) = 1;
}
