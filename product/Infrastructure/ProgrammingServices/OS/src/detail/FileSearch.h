#pragma once

#include <memory>
#include <string>

namespace kf::detail {

/// One recursive enumeration of a folder, with a pattern: what the file finders are built on. Each host has
/// its own.
class FileSearch {
public:
    virtual ~FileSearch() = default;

    FileSearch(const FileSearch&) = delete;
    FileSearch& operator=(const FileSearch&) = delete;

    /// Stores the next path below the folder that matches the pattern. At the end: false, and `name` stays as
    /// it is. Does not throw.
    virtual bool next(std::string& name) = 0;

    /// Which of the host's file manager objects a search uses; no difference on a host without them.
    enum class Manager { Own, Shared };
    /// Never null: a folder that cannot be read has no entries.
    static std::unique_ptr<FileSearch> begin(const std::string& folder, const std::string& pattern,
                                             Manager manager);

protected:
    FileSearch() = default;
};

} // namespace kf::detail
