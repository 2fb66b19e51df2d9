#pragma once

#include <cstddef>
#include <cstdint>

/// Records the largest block that the program has requested from `new` since this object was created. While
/// it exists, larger requests than the limit fail. One object at a time.
class LargestAllocation {
public:
    explicit LargestAllocation(std::size_t limit = SIZE_MAX);
    ~LargestAllocation();
    std::size_t size() const;
};
