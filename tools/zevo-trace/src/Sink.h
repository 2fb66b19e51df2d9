#pragma once

#include <functional>
#include <string_view>

namespace Zevo {

/// Receives output, piece by piece.
using Sink = std::function<void(std::string_view text)>;

} // namespace Zevo
