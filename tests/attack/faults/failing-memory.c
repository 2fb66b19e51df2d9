/* Allocations fail. Those of the virtual bus's preloaded library neither count nor fail: a real machine has
   no such library, and it gives up when it gets no memory. */

#define _GNU_SOURCE
#include "mapped-faults.h"

#include <errno.h>
#include <link.h>
#include <stddef.h>
#include <string.h>

/* The C library's own functions, which the definitions below replace. */
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

static uintptr_t busBegin = 0;
static uintptr_t busEnd = 0;

static int findBus(struct dl_phdr_info* library, size_t size, void* unused) {
    (void)size;
    (void)unused;
    if (!strstr(library->dlpi_name, "libumockdev-preload"))
        return 0;
    busBegin = library->dlpi_addr;
    for (int i = 0; i < library->dlpi_phnum; ++i)
        if (library->dlpi_phdr[i].p_type == PT_LOAD)
            busEnd = library->dlpi_addr + library->dlpi_phdr[i].p_vaddr + library->dlpi_phdr[i].p_memsz;
    return 1;
}

__attribute__((constructor)) static void lookForBus(void) {
    dl_iterate_phdr(findBus, NULL);
}

static int fails(const void* caller) {
    struct faults* const faults = mappedFaults();
    if (!faults || ((uintptr_t)caller >= busBegin && (uintptr_t)caller < busEnd))
        return 0;
    const uint64_t number = __atomic_add_fetch(&faults->allocations, 1, __ATOMIC_RELAXED);
    const uint64_t from = __atomic_load_n(&faults->fail_from, __ATOMIC_RELAXED);
    if (from == 0 || number < from || number - from > __atomic_load_n(&faults->fail_more, __ATOMIC_RELAXED))
        return 0;
    __atomic_add_fetch(&faults->failed_allocations, 1, __ATOMIC_RELAXED);
    errno = ENOMEM;
    return 1;
}

void* malloc(size_t size) {
    return fails(__builtin_return_address(0)) ? NULL : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
    return fails(__builtin_return_address(0)) ? NULL : __libc_calloc(count, size);
}

void* realloc(void* block, size_t size) {
    return fails(__builtin_return_address(0)) ? NULL : __libc_realloc(block, size);
}
