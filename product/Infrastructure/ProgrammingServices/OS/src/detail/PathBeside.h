#pragma once

#include <string>

namespace kf::detail {

/// The path of a file's helper (its lock, its next content): in the file's folder, the file's name with the
/// suffix. If the file system does not allow so long a name, a hash replaces the file's name: "." and 16
/// hexadecimal digits. The same in every process. Thread: any.
/// @param suffix  with its full stop, e.g. ".lock"
std::string pathBeside(const std::string& path, const std::string& suffix);

} // namespace kf::detail
