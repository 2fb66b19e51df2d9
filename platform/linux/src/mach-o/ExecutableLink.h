#pragma once

#include <string>

namespace LinuxPlatform {

/// The file that an "exe" link of /proc names, without the suffix that the kernel adds when the file was
/// deleted; an empty text, with errno set, if the link cannot be read. Any thread.
std::string readExecutableLink(const std::string& link);

} // namespace LinuxPlatform
