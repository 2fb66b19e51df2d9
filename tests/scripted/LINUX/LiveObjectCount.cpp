#include "LiveObjectCount.h"

// Of CoreFoundation alone: a count of everything would link the calls in that the script stands for.
namespace LinuxPlatform {
std::size_t liveObjectCount();
}

std::size_t liveObjectCount() {
    return LinuxPlatform::liveObjectCount();
}
