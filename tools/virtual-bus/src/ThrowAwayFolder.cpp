#include "ThrowAwayFolder.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ftw.h>
#include <stdexcept>
#include <vector>

namespace Zevo {
namespace {

int removeEntry(const char* path, const struct stat*, int, struct FTW*) {
    return std::remove(path);
}

std::string withoutLinks(const std::string& path) {
    char resolved[PATH_MAX];
    return realpath(path.c_str(), resolved) ? resolved : path;
}

} // namespace

ThrowAwayFolder::ThrowAwayFolder(const std::string& name) {
    const char* base = std::getenv("TMPDIR");
    const std::string pattern = std::string(base && *base ? base : "/tmp") + "/" + name + ".XXXXXX";
    std::vector<char> buffer(pattern.c_str(), pattern.c_str() + pattern.size() + 1);
    if (!mkdtemp(buffer.data()))
        throw std::runtime_error("cannot create " + pattern + ": " + std::strerror(errno));
    m_path = withoutLinks(buffer.data());
}

ThrowAwayFolder::~ThrowAwayFolder() {
    const int SPARE_DESCRIPTORS = 16;
    nftw(m_path.c_str(), removeEntry, SPARE_DESCRIPTORS, FTW_DEPTH | FTW_PHYS);
}

} // namespace Zevo
