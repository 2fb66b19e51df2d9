#pragma once

#include <string>

/// The path of the file or folder behind a descriptor, free of links; empty where the system does not tell.
std::string descriptorPath(int descriptor);
