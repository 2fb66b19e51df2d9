#pragma once

#include <memory>
#include <string>

namespace kf::detail {

/// What the file finders stand on: one deep enumeration of a folder, with a pattern. Each host has its own.
class FileSearch {
public:
    virtual ~FileSearch() = default;

    FileSearch(const FileSearch&) = delete;
    FileSearch& operator=(const FileSearch&) = delete;

    /// Stores the next path below the folder that is like the pattern; false, with `name` untouched, at the
    /// end. Does not throw.
    virtual bool next(std::string& name) = 0;

    /// Which of the host's file managers a search asks; they are the same where the host has no such object.
    enum class Manager { Own, Shared };
    /// Never null: a folder that cannot be read has no entries.
    static std::unique_ptr<FileSearch> begin(const std::string& folder, const std::string& pattern,
                                             Manager manager);

protected:
    FileSearch() = default;
};

} // namespace kf::detail
