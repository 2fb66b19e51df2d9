#include "detail/LargeBuffer.h"

#include <cstdlib>
#include <new>

namespace kf::detail {

LargeBuffer makeLargeBuffer(std::size_t bytes) {
    void* const memory = std::calloc(bytes, 1);
    if (memory == nullptr)
        throw std::bad_alloc();
    return LargeBuffer(static_cast<char*>(memory), FreeLargeBuffer{bytes});
}

void FreeLargeBuffer::operator()(char* memory) const {
    std::free(memory);
}

} // namespace kf::detail
