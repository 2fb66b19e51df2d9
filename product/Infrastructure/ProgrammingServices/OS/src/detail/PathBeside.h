#pragma once

#include <string>

namespace kf::detail {

/// Where a file's helper lies (its lock, its next content): in the file's folder, with the suffix behind its
/// name. Where the file system takes no name as long as that, a hash of the name, "." and 16 hexadecimal
/// digits, stands in the name's place. The same in every process. Thread: any.
/// @param suffix  with its full stop, e.g. ".lock"
std::string pathBeside(const std::string& path, const std::string& suffix);

} // namespace kf::detail
