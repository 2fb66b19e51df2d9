#include "detail/PathBeside.h"

#include <cstdint>
#include <cstdio>
#include <unistd.h>

namespace kf::detail {

namespace {

/// FNV-1a. A collision would only mean waiting for another file's lock.
std::string hashOf(const std::string& text) {
    std::uint64_t hash = 0xcbf29ce484222325u;
    for (const char character : text)
        hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001b3u;
    char digits[17];
    snprintf(digits, sizeof(digits), "%016llx", static_cast<unsigned long long>(hash));
    return digits;
}

} // namespace

std::string pathBeside(const std::string& path, const std::string& suffix) {
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    const std::string name = path.substr(folder.size());
    const long longest = pathconf(folder.empty() ? "." : folder.c_str(), _PC_NAME_MAX);
    if (longest < 0 || name.size() + suffix.size() <= static_cast<unsigned long>(longest))
        return path + suffix;
    return folder + "." + hashOf(name) + suffix;
}

} // namespace kf::detail
