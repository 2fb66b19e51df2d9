#pragma once

#include <string>
#include <vector>

namespace Zevo {

/// The log folders of this user's launchers, one for each upgrade code, the one that was written to last first.
std::vector<std::string> logFolders();

/// Where logFolders() looks, with an asterisk in the place of the upgrade code.
std::string logFolderPattern();

} // namespace Zevo
