#pragma once

#include <string_view>
#include <vector>

namespace Zevo {

/// The names of all functions of the product that the trace can show, in byte order; generated from its
/// sources by the build.
const std::vector<std::string_view>& tracedFunctions();

} // namespace Zevo
