#include "LiveObjectCount.h"

// Counts CoreFoundation's objects alone: a count of all objects would link in the real calls that the script
// replaces.
namespace LinuxPlatform {
std::size_t liveObjectCount();
}

std::size_t liveObjectCount() {
    return LinuxPlatform::liveObjectCount();
}
