#pragma once

namespace Zevo {

// The files that the launcher is shipped with, as they were when this program was built.
extern const char SHIPPED_CARD[];
extern const char SHIPPED_TRACE_CONFIGURATION[];
extern const char SHIPPED_LOG_CONFIGURATION[];

} // namespace Zevo
