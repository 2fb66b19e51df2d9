#pragma once

#include "Colours.h"
#include "Finding.h"

#include <string>

namespace Zevo {

/// file:line:column: what is wrong; expected: ...; did you mean ...? With its line feed.
std::string sentence(const Finding& finding, const Colours& colours);

/// The line, and marks below the part that is meant; empty where the file as a whole is.
std::string excerptOf(const Place& place, const Colours& colours);

} // namespace Zevo
