#pragma once

namespace Zevo {

/// A virtual bus exists only for processes that were started with libumockdev-preload. If this one was not,
/// starts this program again with it and with the same arguments, and does not return.
/// Throws std::runtime_error if that is impossible; says what to install if the library is missing.
void restartForVirtualBus(char* const* arguments);

} // namespace Zevo
