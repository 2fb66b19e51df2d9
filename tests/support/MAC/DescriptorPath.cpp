#include "DescriptorPath.h"

#include <climits>
#include <fcntl.h>

std::string descriptorPath(int descriptor) {
    char path[PATH_MAX];
    return fcntl(descriptor, F_GETPATH, path) == 0 ? path : std::string();
}
