#pragma once

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Zevo {

/// An unpacked file of a bundle; removed from disk with its last owner, or with the process.
struct BundledFile {
    std::string name; ///< with its folder in the bundle
    std::time_t modified = 0;
    std::uint64_t size = 0;
    std::shared_ptr<std::FILE> content;
};

/// Limits for a bundle: a small file can unpack to more than any disk holds. The bundles of zevo-check stay
/// below a tenth of the bytes.
struct BundleLimits {
    std::uint64_t bytes = 1'000'000'000;
    std::size_t files = 1000; ///< each is kept open
};

/// Whether this file is packed, as bundles are: decided by its first bytes. Also false if it cannot be read.
bool isBundle(const std::string& path);

/// The files of a bundle that are wanted by name. A bundle is a tar archive compressed with gzip, as
/// `zevo-check bundle` writes it. If it is truncated or damaged, returns the files before that, with a line
/// in `notes`.
///
/// Throws std::runtime_error, with the path and the reason, if nothing of it can be read, if it exceeds the
/// limits, wanted or not, and if there is no space to unpack it.
std::vector<BundledFile> unpackBundle(const std::string& path,
                                      const std::function<bool(const std::string& name)>& isWanted,
                                      std::vector<std::string>& notes, const BundleLimits& limits = {});

} // namespace Zevo
