#pragma once

#include "Finding.h"

#include <cstdint>
#include <string>

namespace Zevo {

/// What both kinds of lines are written to.
struct Outputs {
    std::string logFolder;       ///< with its separator at the end
    std::uint64_t freeBytes = 0; ///< there; 0: not known
};

/// A configured ring of files.
struct RingResult {
    bool isOn = false;
    std::string baseName; ///< the files' path up to "_0.txt"; empty: no files
    std::string file;     ///< where the name is given
    int line = 0;
};

/// Reads the trace's configuration with the product's reader and says what is wrong with it.
RingResult checkTrace(const std::string& folder, const Outputs& outputs, Findings& findings);
/// The same for the log.
RingResult checkLog(const std::string& folder, const Outputs& outputs, Findings& findings);

} // namespace Zevo
