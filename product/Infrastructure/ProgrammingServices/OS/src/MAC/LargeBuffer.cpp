#include "LargeBuffer.h"

#include <new>

LargeBuffer makeLargeBuffer(std::size_t bytes) {
    void* const memory = std::malloc(bytes);
    if (memory == nullptr)
        throw std::bad_alloc();
    return LargeBuffer(static_cast<char*>(memory));
}
