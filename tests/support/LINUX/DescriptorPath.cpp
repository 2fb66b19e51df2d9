#include "DescriptorPath.h"

#include <climits>
#include <unistd.h>

std::string descriptorPath(int descriptor) {
    char path[PATH_MAX];
    const ssize_t length =
        readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), path, sizeof path);
    return std::string(path, static_cast<std::string::size_type>(length < 0 ? 0 : length));
}
