#include "detail/SmallFile.h"

#include <cstring>

namespace kf::detail::SmallFile {

FileDescriptor open(const std::string& path, std::int64_t limit, std::string& refusal) {
    FileDescriptor file = openRegularFile(path);
    struct stat status;
    if (!file.isOpen() && errno == EINVAL)
        refusal = "it is no regular file";
    else if (!file.isOpen() || fstat(file.get(), &status) != 0)
        refusal = std::strerror(errno);
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
    if (!file.isOpen())
        return false;
    if (readWhole(file.get(), static_cast<std::size_t>(limit), content))
        return true;
    refusal = errno == EFBIG ? "it grows while it is read" : std::strerror(errno);
    return false;
}

} // namespace kf::detail::SmallFile
