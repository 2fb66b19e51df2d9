#pragma once

// Counts what a program asks `new` for, and refuses it where a test wants that. To be included by one source
// of it, the one that looks at the count.

#include <cstdint>
#include <cstdlib>
#include <new>

static std::int64_t allocations = 0;
/// At this count there is no memory left.
[[maybe_unused]] static std::int64_t allocationsEnd = INT64_MAX;

// The compiler cannot see that these belong together.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(std::size_t size) {
    if (allocations < allocationsEnd) {
        ++allocations;
        if (void* const memory = std::malloc(size))
            return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
