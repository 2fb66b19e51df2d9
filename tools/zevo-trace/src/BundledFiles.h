#pragma once

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Zevo {

/// A file of a bundle, unpacked; gone from the disk with its last owner, or with the process.
struct BundledFile {
    std::string name; ///< with its folder in the bundle
    std::time_t modified = 0;
    std::uint64_t size = 0;
    std::shared_ptr<std::FILE> content;
};

/// What is too much for a bundle: a small file can unpack to more than any disk holds. Those of zevo-check stay below a tenth
/// of the bytes.
struct BundleLimits {
    std::uint64_t bytes = 1'000'000'000;
    std::size_t files = 1000; ///< each is kept open
};

/// Is this file packed, as bundles are? Told by its first bytes; false also for what cannot be read.
bool isBundle(const std::string& path);

/// The files of a bundle that are wanted by their names: a tar archive packed with gzip, as `zevo-check bundle` writes it.
/// Of one that is cut short or damaged they are what stands before that, with a line in `notes`.
///
/// Throws std::runtime_error, with the path and the reason, when nothing of it can be read, when it holds more than the limits
/// allow, wanted or not, and when there is no room to unpack it.
std::vector<BundledFile> unpackBundle(const std::string& path,
                                      const std::function<bool(const std::string& name)>& isWanted,
                                      std::vector<std::string>& notes, const BundleLimits& limits = {});

} // namespace Zevo
