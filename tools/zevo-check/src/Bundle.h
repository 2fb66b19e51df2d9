#pragma once

#include "Check.h"
#include "Live.h"

#include <ctime>
#include <string>
#include <vector>

namespace Zevo {

/// One file of a support bundle, as it goes out.
struct BundleEntry {
    std::string name;
    std::string text;
    std::time_t time = 0;
};

/// Everything that a support ticket needs, names and numbers of people and devices replaced: the manifest first, then
/// the reports, the versions, the four files and the rings of trace and log. Nothing else is looked at: what is in those
/// folders beside that stays there. Works without a running launcher, and with files that cannot be read.
std::vector<BundleEntry> gatherBundle(const CheckOptions& options, const CheckResult& result,
                                      const Live& live);

/// Writes the entries, in their order, as a tar archive packed with gzip.
/// @throw UsageError there is a file of that name already
/// @throw std::runtime_error it cannot be written; nothing is left of it
void writeBundle(const std::string& path, const std::vector<BundleEntry>& entries);

} // namespace Zevo
