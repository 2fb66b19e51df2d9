#pragma once

#include <string>

// Paths of application bundles, and the root that they are relative to (PLATFORM_ROOT, see CoreServices.h).
// Nothing here keeps state; any thread.

namespace LinuxPlatform {

/// The folder that replaces "/": absolute, links resolved if it exists, without a trailing separator; empty
/// if there is none.
std::string rootFolder();

/// Whether `path` is `folder` or is inside it, component by component. Both absolute, without trailing
/// separators.
bool liesIn(const std::string& path, const std::string& folder);

/// Where an absolute bundle path really is: below rootFolder(). Any other path is returned as it is.
std::string intoRoot(const std::string& path);

/// The inverse, for reports. Empty if there is a root and `path` is outside of it.
std::string outOfRoot(const std::string& path);

/// Whether a file name is a bundle's: it ends in ".app", with something in front.
bool isBundleName(const std::string& name);

/// The innermost bundle that contains a file, or an empty text. The file's own name does not count.
std::string innermostBundle(const std::string& file);

/// What follows the last separator.
std::string lastComponent(const std::string& path);

/// The path with links resolved, or an empty text with errno set.
std::string realPath(const std::string& path);

} // namespace LinuxPlatform
