#pragma once

#include "Finding.h"

namespace Zevo {

/// Checks the bundles that the launcher starts, as the platform does before it starts them.
void checkApplications(Findings& findings);

/// The same for one of them. False if there is nothing, or no bundle, at the path.
bool checkApplication(const char* path, Findings& findings);

} // namespace Zevo
