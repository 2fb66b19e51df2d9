#include "LaunchStatus.h"

#include <cerrno>
#include <unistd.h>

namespace LinuxPlatform {

OSStatus statusOfFailedStart(int error, const std::string& file) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        // If the file exists, the loader or the interpreter that it names is missing.
        return ::access(file.c_str(), F_OK) == 0 ? kLSExecutableIncorrectFormat : kLSNoExecutableErr;
    case ENOEXEC:
    case ELIBBAD:
        return kLSExecutableIncorrectFormat;
    case EACCES:
    case EPERM:
        return kLSNoLaunchPermissionErr;
    case ETXTBSY:
        return opWrErr;
    case EMFILE:
    case ENFILE:
        return tmfoErr;
    case ENOMEM:
    case EAGAIN:
        return memFullErr;
    case EIO:
        return ioErr;
    default:
        return kLSUnknownErr;
    }
}

} // namespace LinuxPlatform
