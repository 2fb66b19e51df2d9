#include "SmallFile.h"

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace SmallFile {

FileDescriptor open(const std::string& path, std::int64_t limit, std::string& refusal) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status;
    if (!file.isOpen() || fstat(file.get(), &status) != 0)
        refusal = std::strerror(errno);
    else if (!S_ISREG(status.st_mode))
        refusal = "it is no regular file";
    else if (status.st_size > limit)
        refusal =
            "it has " + std::to_string(status.st_size) + " bytes, and may have " + std::to_string(limit);
    else
        return file;
    return FileDescriptor();
}

bool read(const std::string& path, std::int64_t limit, std::string& content, std::string& refusal) {
    content.clear();
    const FileDescriptor file = open(path, limit, refusal);
    char piece[16384];
    for (ssize_t count = 1; file.isOpen() && count != 0;) {
        count = ::read(file.get(), piece, sizeof piece);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 || content.size() + static_cast<std::size_t>(count) > static_cast<std::size_t>(limit)) {
            refusal = count < 0 ? std::strerror(errno) : "it grows while it is read";
            content.clear();
            return false;
        }
        content.append(piece, static_cast<std::size_t>(count));
    }
    return file.isOpen();
}

} // namespace SmallFile
