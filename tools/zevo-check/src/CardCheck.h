#pragma once

#include "Finding.h"

#include <string>

namespace Zevo {

struct CardResult {
    bool isReadable = false; ///< the launcher starts with it
    std::string upgradeCode;
};

/// Reads a folder's identity card with the product's reader and reports what is wrong with it.
/// @param folder  with a trailing separator
CardResult checkCard(const std::string& folder, Findings& findings);

} // namespace Zevo
