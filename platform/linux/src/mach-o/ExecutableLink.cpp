#include "ExecutableLink.h"

#include <climits>
#include <unistd.h>

namespace LinuxPlatform {

std::string readExecutableLink(const std::string& link) {
    char target[PATH_MAX];
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    if (length < 0)
        return std::string();
    std::string path(target, static_cast<std::size_t>(length));
    static const char DELETED[] = " (deleted)";
    const std::size_t suffix = sizeof DELETED - 1;
    const bool isMarked = path.size() > suffix && path.compare(path.size() - suffix, suffix, DELETED) == 0;
    if (isMarked && ::access(path.c_str(), F_OK) != 0)
        path.resize(path.size() - suffix);
    return path;
}

} // namespace LinuxPlatform
