#pragma once

#include "Colours.h"
#include "Live.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace Zevo {

/// A few lines on each: devices, hot-plug, applications, files, launchers.
std::string asText(const Live& live, const Colours& colours);

/// The member "live" of docs/schemas/zevo-check.json.
nlohmann::ordered_json asJson(const Live& live);

} // namespace Zevo
