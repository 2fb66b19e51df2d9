#pragma once

#include "Colours.h"
#include "Finding.h"

#include <string>

namespace Zevo {

/// file:line:column: what is wrong; expected: ...; did you mean ...? With its line feed.
std::string sentence(const Finding& finding, const Colours& colours);

/// The line, with marks below the part that is meant; empty if the finding is about the whole file.
std::string excerptOf(const Place& place, const Colours& colours);

} // namespace Zevo
