#include "FileBeginning.h"

#include "Diagnostics.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace LinuxPlatform {

namespace {

const std::size_t PIECE = 4096;

} // namespace

int readBeginning(const std::string& path, std::size_t limit, int flags, std::string& content) {
    content.clear();
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | flags);
    if (file < 0)
        return isLackOfMeans(errno) ? errno : 0;
    char piece[PIECE];
    for (;;) {
        const std::size_t wanted = std::min(sizeof piece, limit - content.size());
        const ssize_t count = ::read(file, piece, wanted);
        if (count > 0)
            content.append(piece, static_cast<std::size_t>(count));
        // Neither a file of /proc nor a script grows meanwhile: a short read is the end. That saves another
        // call for each of some hundred processes.
        if (count < static_cast<ssize_t>(wanted) || content.size() == limit)
            break;
    }
    ::close(file);
    return 0;
}

} // namespace LinuxPlatform
