#include "LiveObjectCount.h"

std::size_t liveObjectCount() {
    return 0;
}
