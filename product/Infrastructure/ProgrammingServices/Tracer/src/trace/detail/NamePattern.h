#pragma once

#include <string_view>

namespace kf::detail {

/// True when the pattern of a permitted thread or call covers the name: "*" is all names, "Main*" those that
/// begin so, "*Worker" those that end so, anything else that one name.
///
/// DELIBERATE: "*Worker" looks at the first "Worker" in the name only, so it does not cover "WorkerWorker".
bool isNameCovered(std::string_view pattern, std::string_view name);

/// The same for forbidden calls, where "*text*" covers every name that contains the text.
bool isNameHidden(std::string_view pattern, std::string_view name);

} // namespace kf::detail
