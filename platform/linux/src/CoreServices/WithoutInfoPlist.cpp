#include "InfoPlist.h"

namespace platform {

std::string executableNameFromInfoPlist(const std::string&) {
    return std::string();
}

} // namespace platform
