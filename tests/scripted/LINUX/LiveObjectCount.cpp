#include "LiveObjectCount.h"

// Of CoreFoundation alone: a count of everything would link the calls in that the script stands for.
namespace LinuxPlatform {
std::size_t LiveObjectCount();
}

std::size_t liveObjectCount() {
    return LinuxPlatform::LiveObjectCount();
}
