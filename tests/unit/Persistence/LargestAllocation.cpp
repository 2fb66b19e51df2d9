#include "LargestAllocation.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>
#include <string>

static std::atomic<std::size_t> largest{0};
static std::atomic<std::size_t> largestGiven{SIZE_MAX};

// The compiler cannot see that these operators belong together. Those for arrays are replaced, too, because a
// sanitizer's would not call these.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void* operator new(std::size_t size) {
    largest = std::max(largest.load(), size);
    if (size <= largestGiven) {
        if (void* const memory = std::malloc(size))
            return memory;
    }
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

LargestAllocation::LargestAllocation(std::size_t limit) {
    largest = 0;
    largestGiven = limit;
}

LargestAllocation::~LargestAllocation() {
    largestGiven = SIZE_MAX;
}

std::size_t LargestAllocation::size() const {
    return largest;
}

TEST(LargestAllocationTest, SeesTheBufferOfABlock) {
    const LargestAllocation allocation;
    char* volatile block = new char[123456]; // volatile: the compiler may leave out a block that nobody uses
    delete[] block;
    EXPECT_GE(allocation.size(), 123456u);
}

TEST(LargestAllocationTest, GivesNoBlockBeyondTheLimit) {
    const LargestAllocation allocation(123456);
    EXPECT_THROW(std::string(1000000, 'x'), std::bad_alloc);
    EXPECT_NO_THROW(std::string(100000, 'x'));
}
