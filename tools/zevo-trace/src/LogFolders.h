#pragma once

#include <string>
#include <vector>

namespace Zevo {

/// The log folders of this user's launchers, one per upgrade code, the most recently written first.
std::vector<std::string> logFolders();

/// Where logFolders() searches, with an asterisk for the upgrade code.
std::string logFolderPattern();

} // namespace Zevo
