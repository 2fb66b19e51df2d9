#pragma once

#include <cstddef>
#include <string>

namespace LinuxPlatform {

/// What a file of /proc or another small file begins with.
/// @param limit    in bytes
/// @param flags    more flags for open(2)
/// @param content  empty when there is no such file, or none for this user
/// @return 0, or what this process or the machine lacks to read it: an errno that isLackOfMeans()
///     knows. Any thread.
int readBeginning(const std::string& path, std::size_t limit, int flags, std::string& content);

} // namespace LinuxPlatform
