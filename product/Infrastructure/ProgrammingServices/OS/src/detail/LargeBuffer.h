#pragma once

#include <cstddef>
#include <memory>

namespace kf::detail {

/// Gives back what makeLargeBuffer made.
struct FreeLargeBuffer {
    void operator()(char* memory) const;
    std::size_t bytes = 0;
};
using LargeBuffer = std::unique_ptr<char[], FreeLargeBuffer>;

/// What a large buffer is best made in multiples of, in bytes.
constexpr std::size_t LARGE_BUFFER_UNIT = std::size_t{2} * 1024 * 1024;

/// Memory (all zeros, and not touched yet where it is large) for a buffer that is filled quickly: in the
/// host's large pages where it has them to give, since each first touch of a page costs more than writing a
/// dozen lines into it. Throws std::bad_alloc.
LargeBuffer makeLargeBuffer(std::size_t bytes);

} // namespace kf::detail
