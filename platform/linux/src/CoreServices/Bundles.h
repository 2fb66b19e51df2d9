#pragma once

#include <string>

// Paths of application bundles, and the root they are seen from (PLATFORM_ROOT, told in CoreServices.h).
// Nothing here keeps state; any thread.

namespace LinuxPlatform {

/// The folder that stands in for "/", absolute, links resolved where it exists, without a trailing separator;
/// empty when there is none.
std::string rootFolder();

/// Whether `path` is `folder` or lies in it, component by component. Both absolute, without trailing
/// separators.
bool liesIn(const std::string& path, const std::string& folder);

/// Where an absolute bundle path really lies: below rootFolder(). Any other path comes back as it is.
std::string intoRoot(const std::string& path);

/// The inverse, for reporting. Empty when there is a root and `path` is not in it.
std::string outOfRoot(const std::string& path);

/// Whether a file name is a bundle's: something before ".app".
bool isBundleName(const std::string& name);

/// The innermost bundle that a file lies in, or an empty text. The file's own name does not count.
std::string innermostBundle(const std::string& file);

/// What follows the last separator.
std::string lastComponent(const std::string& path);

/// The path with links resolved, or an empty text with errno set.
std::string realPath(const std::string& path);

} // namespace LinuxPlatform
