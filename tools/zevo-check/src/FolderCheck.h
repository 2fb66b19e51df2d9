#pragma once

#include <cstdint>
#include <string>

namespace Zevo {

enum class FolderMustExist { YES, NO_IF_IT_CAN_BE_MADE };

/// Why this user cannot write files into a folder, for instance "is no folder". Empty if nothing prevents it.
std::string whyNotWritable(const std::string& folder, FolderMustExist must);

/// The bytes that this user may still write where a folder is or would be created; 0 if unknown.
std::uint64_t freeBytesFor(const std::string& folder);

} // namespace Zevo
