#include "ExecutableLink.h"

#include <cstring>
#include <mach-o/dyld.h>
#include <sys/auxv.h>

namespace {

std::string executablePath() {
    const std::string path = LinuxPlatform::readExecutableLink("/proc/self/exe");
    if (!path.empty())
        return path;
    // Without /proc, the path that the program was started by; it may be relative to a folder that is no
    // longer the current one.
    const auto* started = reinterpret_cast<const char*>(::getauxval(AT_EXECFN));
    return started != nullptr ? started : std::string();
}

} // namespace

int _NSGetExecutablePath(char* buf, uint32_t* bufsize) {
    const std::string path = executablePath();
    if (path.size() >= *bufsize) {
        *bufsize = static_cast<uint32_t>(path.size() + 1);
        return -1;
    }
    std::memcpy(buf, path.c_str(), path.size() + 1);
    return 0;
}
