#include "detail/LargeBuffer.h"

#include <cstdint>
#include <cstdlib>
#include <new>
#include <sys/mman.h>

namespace kf::detail {

namespace {

bool isLarge(std::size_t bytes) {
    return bytes >= LARGE_BUFFER_UNIT;
}

/// Fresh pages, from an address that large ones can begin at; null when there are none.
char* mapAligned(std::size_t bytes) {
    const std::size_t mapped = bytes + LARGE_BUFFER_UNIT;
    void* const memory = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return nullptr;
    char* const begin = static_cast<char*>(memory);
    const std::size_t above = reinterpret_cast<std::uintptr_t>(begin) % LARGE_BUFFER_UNIT;
    const std::size_t head = above == 0 ? 0 : LARGE_BUFFER_UNIT - above;
    if (head != 0)
        munmap(begin, head);
    munmap(begin + head + bytes, LARGE_BUFFER_UNIT - head);
    return begin + head;
}

} // namespace

LargeBuffer makeLargeBuffer(std::size_t bytes) {
    if (!isLarge(bytes)) {
        void* const memory = std::calloc(bytes, 1);
        if (memory == nullptr)
            throw std::bad_alloc();
        return LargeBuffer(static_cast<char*>(memory), FreeLargeBuffer{bytes});
    }
    const std::size_t whole = (bytes + LARGE_BUFFER_UNIT - 1) / LARGE_BUFFER_UNIT * LARGE_BUFFER_UNIT;
    char* const memory = mapAligned(whole);
    if (memory == nullptr)
        throw std::bad_alloc();
    // A wish: where it is not granted the pages are small ones.
    madvise(memory, whole, MADV_HUGEPAGE);
    return LargeBuffer(memory, FreeLargeBuffer{whole});
}

void FreeLargeBuffer::operator()(char* memory) const {
    if (isLarge(bytes))
        munmap(memory, bytes);
    else
        std::free(memory);
}

} // namespace kf::detail
