#pragma once

#include "Finding.h"

namespace Zevo {

/** Looks at the bundles that the launcher starts, as the platform does before it starts them. */
void checkApplications(Findings& findings);

} // namespace Zevo
