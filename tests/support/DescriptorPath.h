#pragma once

#include <string>

/// The path of the file or folder behind a descriptor, with links resolved; empty if the system does not know
/// it.
std::string descriptorPath(int descriptor);
