#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

struct FreeLargeBuffer {
    void operator()(char* memory) const { std::free(memory); }
};
using LargeBuffer = std::unique_ptr<char[], FreeLargeBuffer>;

/// What a large buffer is best made in multiples of, in bytes.
constexpr std::size_t LARGE_BUFFER_UNIT = std::size_t{2} * 1024 * 1024;

/// Memory (not initialised) for a buffer that is filled quickly: in the host's large pages where it has them
/// to give, since each first touch of a page costs more than writing a dozen lines into it. Throws
/// std::bad_alloc.
LargeBuffer makeLargeBuffer(std::size_t bytes);
