#pragma once

#include "Check.h"
#include "Live.h"

#include <ctime>
#include <string>
#include <vector>

namespace Zevo {

/// One file of a support bundle, with its content as it is sent.
struct BundleEntry {
    std::string name;
    std::string text;
    std::time_t time = 0;
};

/// Everything that a support ticket needs, with the names and numbers of people and devices replaced: the
/// manifest first, then the reports, the versions, the four files and the rings of trace and log. Other files
/// in those folders are not read. Works without a running launcher, and with files that cannot be read.
std::vector<BundleEntry> gatherBundle(const CheckOptions& options, const CheckResult& result,
                                      const Live& live);

/// Writes the entries, in their order, as a tar archive compressed with gzip.
/// @throw UsageError a file of that name exists already
/// @throw std::runtime_error it cannot be written; nothing of it is left
void writeBundle(const std::string& path, const std::vector<BundleEntry>& entries);

} // namespace Zevo
