#pragma once

#include "Check.h"
#include "Colours.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace Zevo {

/// Each finding as file:line:column: what is wrong; expected: ...; did you mean ...? and the line with marks
/// below it; then a summary line. One line if nothing is wrong.
std::string asText(const CheckResult& result, const CheckOptions& options, const Colours& colours);

/// As docs/schemas/zevo-check.json describes it.
nlohmann::ordered_json asJson(const CheckResult& result, const CheckOptions& options);

} // namespace Zevo
