#include "InfoPlist.h"

namespace LinuxPlatform {

std::string executableNameFromInfoPlist(const std::string&) {
    return std::string();
}

} // namespace LinuxPlatform
