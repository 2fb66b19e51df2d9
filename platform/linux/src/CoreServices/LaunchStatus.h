#pragma once

#include <CoreServices/CoreServices.h>
#include <string>

namespace LinuxPlatform {

/// What LSOpenApplication answers when no process became the program in `file`: `error` is the errno of
/// execve(2) or of the call that was to make the process, never 0. Any thread.
OSStatus statusOfFailedStart(int error, const std::string& file);

} // namespace LinuxPlatform
