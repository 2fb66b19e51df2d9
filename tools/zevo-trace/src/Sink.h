#pragma once

#include <functional>
#include <string_view>

namespace Zevo {

/// Where results go, piece by piece.
using Sink = std::function<void(std::string_view text)>;

} // namespace Zevo
