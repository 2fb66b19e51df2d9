#pragma once

#include "Colours.h"

#include <string>
#include <vector>

namespace Zevo {

/// A file of the launcher's folder before and after.
struct MendedFile {
    std::string name;
    std::string before;
    std::string after;
};

/// What of a folder's mistakes has one right answer: letter case of keys and of Vid_ and Pid_, line ends of a carriage
/// return alone, byte order marks, and a last line feed that is missing. Only files that would change; changes nothing.
/// @param folder with its separator at the end, or empty
/// @throw std::runtime_error there is no room for temporary files
std::vector<MendedFile> planMending(const std::string& folder);

/// The lines that differ, "-" before and "+" after; what is invisible is named.
std::string differenceText(const MendedFile& file, const Colours& colours);

/// Replaces the file as a whole, and keeps what it was beside it.
/// @return the copy's path
/// @throw std::runtime_error the file or its copy cannot be written, or the file has changed meanwhile; it is as it was
std::string writeMended(const std::string& folder, const MendedFile& file);

} // namespace Zevo
