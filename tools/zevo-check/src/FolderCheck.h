#pragma once

#include <cstdint>
#include <string>

namespace Zevo {

enum class FolderMustExist { YES, NO_IF_IT_CAN_BE_MADE };

/// Why this user cannot write files into a folder: "is no folder", for instance. Empty when nothing is in the way.
std::string whyNotWritable(const std::string& folder, FolderMustExist must);

/// The bytes that this user may still write where a folder is or would be made; 0 when that is not to be told.
std::uint64_t freeBytesFor(const std::string& folder);

} // namespace Zevo
