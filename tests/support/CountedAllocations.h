#pragma once

// Counts the calls of `new` in a program, and lets them fail if a test wants that. Include it in one source
// of the program, the one that reads the count.

#include <cstdint>
#include <cstdlib>
#include <new>

static std::int64_t allocations = 0;
/// From this count on, allocations fail.
[[maybe_unused]] static std::int64_t allocationsEnd = INT64_MAX;

// The compiler cannot see that this new and this delete belong together.
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
