#pragma once

#include <string_view>
#include <vector>

namespace Zevo {

/// The names of all functions of the product that the trace can show, in byte order; made of its sources when it is
/// built.
const std::vector<std::string_view>& tracedFunctions();

} // namespace Zevo
