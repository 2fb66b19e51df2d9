#pragma once

#include <CoreServices/CoreServices.h>
#include <string>

namespace LinuxPlatform {

/// The result of LSOpenApplication if no process became the program in `file`: `error` is the errno of
/// execve(2) or of the call that was to create the process, never 0. Any thread.
OSStatus statusOfFailedStart(int error, const std::string& file);

} // namespace LinuxPlatform
