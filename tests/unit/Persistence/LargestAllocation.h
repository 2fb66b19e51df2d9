#pragma once

#include <cstddef>

/// The largest block of memory that the whole program has asked `new` for since the object was made. One at a
/// time.
class LargestAllocation {
public:
    LargestAllocation();
    std::size_t size() const;
};
