#pragma once

#include <cstddef>
#include <string>

namespace LinuxPlatform {

/// Reads the beginning of a file of /proc or of another small file. Any thread.
/// @param limit    in bytes
/// @param flags    more flags for open(2)
/// @param content  empty if there is no such file, or this user may not read it
/// @return 0, or the errno if this process or the machine has no descriptors or memory left (isLackOfMeans())
int readBeginning(const std::string& path, std::size_t limit, int flags, std::string& content);

} // namespace LinuxPlatform
