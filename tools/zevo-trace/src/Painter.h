#pragma once

#include "Colours.h"
#include "Journal.h"

#include <string>

namespace Zevo {

/// A line as it is, with colours: errors and warnings, calls, less important parts.
std::string painted(const TraceLine& line, const Colours& colours);

/// "2026-01-31 10:40:21.912", or the time alone if the day is unknown; "" without a time.
std::string textOf(Moment time, bool isDated);
/// "10:40:21.912"
std::string timeTextOf(Moment time);
/// "2026-01-31"
std::string dateTextOf(Moment time);
/// "15 ms", "2.3 s", "4 min 10 s"
std::string durationText(Moment milliseconds);

} // namespace Zevo
