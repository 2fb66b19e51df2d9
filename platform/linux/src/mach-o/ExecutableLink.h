#pragma once

#include <string>

namespace LinuxPlatform {

/// The file that one of /proc's "exe" links names, without the mark that the kernel adds when the file has
/// been deleted; an empty text, with errno set, when the link cannot be read. Any thread.
std::string readExecutableLink(const std::string& link);

} // namespace LinuxPlatform
