#pragma once

#include <cstddef>

/// How many objects of CoreFoundation there are; always 0 where the system does not count them.
std::size_t liveObjectCount();
