#include "ExecutableLink.h"

#include <climits>
#include <cstring>
#include <mach-o/dyld.h>
#include <sys/auxv.h>
#include <unistd.h>

namespace platform {

std::string readExecutableLink(const std::string& link) {
    char target[PATH_MAX];
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    if (length < 0)
        return std::string();
    std::string path(target, static_cast<size_t>(length));
    static const char DELETED[] = " (deleted)";
    const size_t suffix = sizeof DELETED - 1;
    const bool isMarked = path.size() > suffix && path.compare(path.size() - suffix, suffix, DELETED) == 0;
    if (isMarked && ::access(path.c_str(), F_OK) != 0)
        path.resize(path.size() - suffix);
    return path;
}

} // namespace platform

static std::string executablePath() {
    const std::string path = platform::readExecutableLink("/proc/self/exe");
    if (!path.empty())
        return path;
    // Without /proc, what the program was started by; it may be relative to a folder that has been left
    // since.
    const auto* started = reinterpret_cast<const char*>(::getauxval(AT_EXECFN));
    return started != nullptr ? started : std::string();
}

int _NSGetExecutablePath(char* buf, uint32_t* bufsize) {
    const std::string path = executablePath();
    if (path.size() >= *bufsize) {
        *bufsize = static_cast<uint32_t>(path.size() + 1);
        return -1;
    }
    std::memcpy(buf, path.c_str(), path.size() + 1);
    return 0;
}
