#pragma once

namespace Zevo {

// The default files of the launcher, embedded when this program was built.
extern const char SHIPPED_CARD[];
extern const char SHIPPED_TRACE_CONFIGURATION[];
extern const char SHIPPED_LOG_CONFIGURATION[];

} // namespace Zevo
