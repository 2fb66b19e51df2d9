#pragma once

#include <cstddef>
#include <cstdint>

/// The largest block of memory that the whole program has asked `new` for since the object was made. While it
/// lives there is no block larger than the limit. One at a time.
class LargestAllocation {
public:
    explicit LargestAllocation(std::size_t limit = SIZE_MAX);
    ~LargestAllocation();
    std::size_t size() const;
};
