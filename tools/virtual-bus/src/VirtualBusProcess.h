#pragma once

namespace Zevo {

/// A virtual bus is only there for processes that libumockdev-preload was loaded into before they began. Where it was not,
/// starts this program once more with it, with the same arguments, and does not return.
/// Throws std::runtime_error when that cannot be done; says what to install where the library is missing.
void restartForVirtualBus(char* const* arguments);

} // namespace Zevo
