#pragma once

// What the Linux part of the product needs of the system, where macOS has a framework for it.

#include <string>

namespace LinuxPlatform {

/// The user's home folder, with a trailing separator: $HOME if that is an absolute path, else the effective
/// user's entry in the user database; empty for a user without one. Any thread.
std::string homeFolder();

} // namespace LinuxPlatform
