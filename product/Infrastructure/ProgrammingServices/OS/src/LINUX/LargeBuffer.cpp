#include "LargeBuffer.h"

#include <new>
#include <sys/mman.h>

LargeBuffer makeLargeBuffer(std::size_t bytes) {
    const bool large = bytes >= LARGE_BUFFER_UNIT;
    void* memory = nullptr;
    if (posix_memalign(&memory, large ? LARGE_BUFFER_UNIT : alignof(std::max_align_t), bytes) != 0)
        throw std::bad_alloc();
    // A wish: where it is not granted the pages are small ones.
    if (large)
        madvise(memory, bytes / LARGE_BUFFER_UNIT * LARGE_BUFFER_UNIT, MADV_HUGEPAGE);
    return LargeBuffer(static_cast<char*>(memory));
}
