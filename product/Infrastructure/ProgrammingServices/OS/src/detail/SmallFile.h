#pragma once

#include "detail/FileDescriptor.h"

#include <cstdint>
#include <string>

/// Files that people write, and that are small for that reason. A larger one, or no regular file, is a
/// mistake or an attack: reading /dev/zero or a gigabyte of anything would exhaust the memory, opening a pipe
/// would block.
namespace kf::detail::SmallFile {

/// In bytes. Not off_t, whose size differs between the sources of a 32-bit build.
constexpr std::int64_t CONFIGURATION_LIMIT = 1024 * 1024;
constexpr std::int64_t PROPERTY_LIST_LIMIT = 64 * 1024 * 1024;

/// Opens a regular file of at most `limit` bytes for reading; never blocks.
/// @param refusal  why there is none: "No such file or directory", "it is no regular file", "it has 2000000 bytes, and may
///                 have 1048576"
/// @return an empty owner if there is none
FileDescriptor open(const std::string& path, std::int64_t limit, std::string& refusal);

/// Reads such a file completely; false, with `content` empty, if there is none or reading fails.
bool read(const std::string& path, std::int64_t limit, std::string& content, std::string& refusal);

} // namespace kf::detail::SmallFile
