#pragma once

#include <memory>
#include <string>

namespace kf::detail {

// What the file finders stand on: one deep enumeration of a folder, with a pattern. Each host has its own.
class FileSearch {
public:
    virtual ~FileSearch() = default;

    FileSearch(const FileSearch&) = delete;
    FileSearch& operator=(const FileSearch&) = delete;

    /// Stores the next path below the folder that is like the pattern; false, with `name` untouched, at the
    /// end. Does not throw.
    virtual bool next(std::string& name) = 0;

    /// A search through a file manager of its own, or through the one that the whole process shares; where
    /// the host has no such object both are the same. Never null: a folder that cannot be read has no
    /// entries.
    static std::unique_ptr<FileSearch> withOwnManager(const std::string& folder, const std::string& pattern);
    static std::unique_ptr<FileSearch> withSharedManager(const std::string& folder,
                                                         const std::string& pattern);

protected:
    FileSearch() = default;
};

} // namespace kf::detail
