#pragma once

#include "Finding.h"
#include "LauncherConfigurationCheck.h"
#include "TraceCheck.h"

#include <cstdint>
#include <functional>
#include <string>

namespace Zevo {

struct CheckOptions {
    std::string folder; ///< of the launcher; empty: the current one. Else with a trailing separator
    bool withApplications = true;
    /// Returns the free bytes of a folder; tests replace it.
    std::function<std::uint64_t(const std::string&)> freeBytes;
};

struct CheckResult {
    Findings findings;
    HardwareIds ids;
    std::string logFolder; ///< where trace and log go; empty if the card cannot be read
    RingResult trace;
    RingResult log;
};

/// Reads everything that the launcher reads at its start, and checks where it will write. Changes nothing.
CheckResult checkInstallation(const CheckOptions& options);

} // namespace Zevo
