#pragma once

#include <cstddef>
#include <string>

// The one seam to the property-list library. A build with it has InfoPlist.cpp behind this declaration; a
// build without it (ZEVO_DEVICES=OFF) has WithoutInfoPlist.cpp, which knows no key, so that every bundle is
// taken to name its executable after itself.

namespace LinuxPlatform {

/// A longer Info.plist is not read. Generous for a file of a few dozen lines. The library walks a property list
/// recursively, and a binary one in a time that grows with the square of its depth; what fits in here neither
/// exhausts the stack nor takes long.
constexpr std::size_t INFO_PLIST_LIMIT = 64 * 1024;

/// CFBundleExecutable of a bundle's Info.plist, text or binary form.
/// @param infoPlist  path of the file; may be missing, unreadable, of any kind, size and content. Never waits
/// for it.
/// @return the text as it stands there; empty when there is none to be had
std::string executableNameFromInfoPlist(const std::string& infoPlist);

} // namespace LinuxPlatform
