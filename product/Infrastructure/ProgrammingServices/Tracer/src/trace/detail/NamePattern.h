#pragma once

#include <string_view>

namespace kf::detail {

/// Whether the pattern of a permitted thread or call matches the name. "*" matches all names, "Main*" those
/// that begin with Main, "*Worker" those that end in Worker, and any other pattern only that name.
///
/// DELIBERATE: "*Worker" is compared with the first "Worker" in the name only, so it does not match
/// "WorkerWorker".
bool isNameCovered(std::string_view pattern, std::string_view name);

/// The same for forbidden calls, where "*text*" matches every name that contains the text.
bool isNameHidden(std::string_view pattern, std::string_view name);

} // namespace kf::detail
