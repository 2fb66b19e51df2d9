#pragma once

#include "Colours.h"

#include <string>
#include <vector>

namespace Zevo {

/// A file of the launcher's folder before and after the correction.
struct MendedFile {
    std::string name;
    std::string before;
    std::string after;
};

/// Corrects the mistakes of a folder that have only one correction: letter case of keys and of Vid_ and Pid_,
/// carriage returns as line ends, byte order marks, and a missing last line feed. Returns the files that
/// would change; changes nothing on disk.
/// @param folder  with a trailing separator, or empty
/// @throw std::runtime_error there is no space for temporary files
std::vector<MendedFile> planMending(const std::string& folder);

/// The lines that differ, "-" before and "+" after; invisible characters are named.
std::string differenceText(const MendedFile& file, const Colours& colours);

/// Replaces the file atomically, and keeps the old one beside it.
/// @return the copy's path
/// @throw std::runtime_error the file or its copy cannot be written, or the file has changed meanwhile; it
/// stays as it was
std::string writeMended(const std::string& folder, const MendedFile& file);

} // namespace Zevo
