#pragma once

#include <cstddef>

/// The number of live objects of CoreFoundation; always 0 on a system that does not count them.
std::size_t liveObjectCount();
