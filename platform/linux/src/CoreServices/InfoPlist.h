#pragma once

#include <cstddef>
#include <string>

// The only interface to the property-list library. A build with the library defines it in InfoPlist.cpp; a
// build without (ZEVO_DEVICES=OFF) in WithoutInfoPlist.cpp, which finds no key, so that every bundle's
// executable is taken to have the bundle's name.

namespace LinuxPlatform {

/// A longer Info.plist is not read. Generous for a file of a few dozen lines. The library walks a property list
/// recursively, and a binary one in a time that grows with the square of its depth; a file within this limit
/// neither exhausts the stack nor takes long.
constexpr std::size_t INFO_PLIST_LIMIT = 64 * 1024;

/// CFBundleExecutable of a bundle's Info.plist, text or binary form.
/// @param infoPlist  path of the file; may be missing, unreadable, of any kind, size and content. Never
///                   blocks
/// @return the text as it is; empty if there is none
std::string executableNameFromInfoPlist(const std::string& infoPlist);

} // namespace LinuxPlatform
