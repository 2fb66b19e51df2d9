#pragma once

// What Linux's own part of the product asks that macOS's frameworks would answer otherwise.

#include <string>

namespace LinuxPlatform {

/// The user's home folder, with a separator at the end: $HOME where that is an absolute path, else what the
/// user data base says of the effective user; empty for a user without one. Any thread.
std::string homeFolder();

} // namespace LinuxPlatform
