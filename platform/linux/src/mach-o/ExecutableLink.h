#pragma once

#include <fcntl.h>
#include <string>

namespace platform {

/// The file that one of /proc's "exe" links names, without the mark that the kernel adds when the file has
/// been deleted; an empty text, with errno set, when the link cannot be read. Any thread.
/// @param folder  the open folder that a relative `link` is in
std::string readExecutableLink(const std::string& link, int folder = AT_FDCWD);

} // namespace platform
