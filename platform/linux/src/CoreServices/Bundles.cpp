#include "Bundles.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace LinuxPlatform {

namespace {

const char BUNDLE_SUFFIX[] = ".app";

void dropTrailingSeparators(std::string& path) {
    while (!path.empty() && path.back() == '/')
        path.pop_back();
}

std::string absolutePath(const std::string& path) {
    if (path[0] == '/')
        return path;
    std::unique_ptr<char, decltype(&std::free)> here(::getcwd(nullptr, 0), &std::free);
    // Without a current folder, nothing below a relative root can be found; this path makes sure of that.
    return std::string(here ? here.get() : "") + "/" + path;
}

} // namespace

std::string realPath(const std::string& path) {
    std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr), &std::free);
    return real ? real.get() : std::string();
}

namespace {

/// PLATFORM_ROOT as it was given, made absolute.
std::string givenRootFolder() {
    const char* given = std::getenv("PLATFORM_ROOT");
    if (given == nullptr || *given == '\0')
        return std::string();
    std::string root = absolutePath(given);
    dropTrailingSeparators(root);
    return root;
}

} // namespace

std::string rootFolder() {
    const std::string given = givenRootFolder();
    if (given.empty())
        return given;
    std::string real = realPath(given);
    if (real.empty())
        return given;
    dropTrailingSeparators(real); // a root of "/" counts as none
    return real;
}

bool liesIn(const std::string& path, const std::string& folder) {
    return path.compare(0, folder.size(), folder) == 0 &&
           (path.size() == folder.size() || path[folder.size()] == '/');
}

std::string intoRoot(const std::string& path) {
    if (path.empty() || path[0] != '/')
        return path;
    const bool isBundlePath = !innermostBundle(path + "/").empty();
    const std::string root = rootFolder();
    if (!isBundlePath || root.empty() || liesIn(path, root))
        return path;
    const std::string given = givenRootFolder();
    return root + (liesIn(path, given) ? path.substr(given.size()) : path);
}

std::string outOfRoot(const std::string& path) {
    const std::string root = rootFolder();
    return liesIn(path, root) ? path.substr(root.size()) : std::string();
}

bool isBundleName(const std::string& name) {
    const std::size_t length = std::strlen(BUNDLE_SUFFIX);
    return name.size() > length && name.compare(name.size() - length, length, BUNDLE_SUFFIX) == 0;
}

std::string innermostBundle(const std::string& file) {
    std::size_t end = file.rfind('/');
    while (end != std::string::npos && end > 0) {
        const std::size_t separator = file.rfind('/', end - 1);
        const std::size_t begin = separator == std::string::npos ? 0 : separator + 1;
        if (isBundleName(file.substr(begin, end - begin)))
            return file.substr(0, end);
        end = separator;
    }
    return std::string();
}

std::string lastComponent(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

} // namespace LinuxPlatform
