#pragma once

#include "Finding.h"

namespace Zevo {

/// Looks at the bundles that the launcher starts, as the platform does before it starts them.
void checkApplications(Findings& findings);

/// The same for one of them. False when nothing, or no bundle, lies at the path.
bool checkApplication(const char* path, Findings& findings);

} // namespace Zevo
