#pragma once

#include "Finding.h"

#include <cstdint>
#include <string>

namespace Zevo {

/// The folder that both the trace and the log are written to.
struct Outputs {
    std::string logFolder;       ///< with a trailing separator
    std::uint64_t freeBytes = 0; ///< in it; 0: unknown
};

/// A configured ring of files.
struct RingResult {
    bool isOn = false;
    std::string baseName; ///< path of the files up to "_0.txt"; empty: no files
    std::string file;     ///< the file that names it
    int line = 0;
};

/// Reads the trace's configuration with the product's reader and reports what is wrong with it.
RingResult checkTrace(const std::string& folder, const Outputs& outputs, Findings& findings);
/// The same for the log.
RingResult checkLog(const std::string& folder, const Outputs& outputs, Findings& findings);

} // namespace Zevo
