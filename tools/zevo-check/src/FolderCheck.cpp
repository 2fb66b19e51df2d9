#include "FolderCheck.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace Zevo {
namespace {

std::string parentOf(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    const std::size_t separator = path.rfind('/');
    if (separator == std::string::npos)
        return ".";
    return separator == 0 ? "/" : path.substr(0, separator);
}

} // namespace

std::string whyNotWritable(const std::string& folder, FolderMustExist must) {
    struct stat status;
    if (stat(folder.c_str(), &status) != 0) {
        if (errno != ENOENT || must == FolderMustExist::YES || folder == "/")
            return errno == ENOENT ? "is not there"
                                   : std::string("cannot be reached: ") + std::strerror(errno);
        const std::string parent = parentOf(folder);
        const std::string wrong = whyNotWritable(parent, must);
        return wrong.empty() || wrong.compare(0, 6, "cannot") == 0
                   ? wrong
                   : "cannot be made: " + parent + " " + wrong;
    }
    if (!S_ISDIR(status.st_mode))
        return "is no folder";
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        return std::string("is closed to this user: ") + std::strerror(errno);
    return {};
}

std::uint64_t freeBytesFor(const std::string& folder) {
    struct statvfs disk;
    for (std::string path = folder;; path = parentOf(path)) {
        if (statvfs(path.c_str(), &disk) == 0)
            return static_cast<std::uint64_t>(disk.f_bavail) * disk.f_frsize;
        if (path == "/" || path == ".")
            return 0;
    }
}

} // namespace Zevo
