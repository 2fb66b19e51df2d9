#pragma once

#include <string>

/// A name that has been saved to a property list and read again, in lower case.
std::string savedName();
