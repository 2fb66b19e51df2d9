#pragma once

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Zevo {

/** A file of a bundle, unpacked; gone from the disk with its last owner, or with the process. */
struct BundledFile {
    std::string name; ///< with its folder in the bundle
    std::time_t modified = 0;
    std::uint64_t size = 0;
    std::shared_ptr<std::FILE> content;
};

/** Is this file packed, as bundles are? Told by its first bytes; false also for what cannot be read. */
bool isBundle(const std::string& path);

/**
 * The files of a bundle that are wanted by their names: a tar archive packed with gzip, as `zevo-check bundle` writes it.
 * Of one that is cut short or damaged they are what stands before that, with a line in `notes`.
 *
 * Throws std::runtime_error, with the path and the reason, when nothing of it can be read, and when there is no room to
 * unpack it.
 */
std::vector<BundledFile> unpackBundle(const std::string& path,
                                      const std::function<bool(const std::string& name)>& isWanted,
                                      std::vector<std::string>& notes);

} // namespace Zevo
