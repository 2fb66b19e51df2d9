#pragma once

#include <memory>
#include <string>

namespace kf::detail {
class FileSearch;
}

/// Finds the entries of a folder, and of all folders below it, whose path matches a pattern ("*": any run of
/// characters, "/" included; "?": one character; upper and lower case differ). What is matched and returned
/// is the path relative to the folder, so names may contain "/". Folders and links are entries like any
/// other; links are not followed, unless the folder itself is one. "." and ".." never appear. The order is
/// the file system's, each folder before its content. A missing or unreadable folder has no entries.
///
/// Nothing here throws. Thread: any, one at a time per object.
class FileFinder {
public:
    /// Matches the end of the path: a "*" is put in front of a pattern that does not begin with one, so txt
    /// finds every path that ends in txt. "*.*" matches everything, names without a dot included.
    FileFinder(const std::string& folder, const std::string& pattern);
    virtual ~FileFinder();

    FileFinder(const FileFinder&) = delete;
    FileFinder& operator=(const FileFinder&) = delete;

    /// Both do the same: store the next matching path in `name` and return true. When there is none left,
    /// they return false and leave `name` as it is. findFirstFile() does not start over.
    bool findFirstFile(std::string& name);
    bool findNextFile(std::string& name);

protected:
    explicit FileFinder(std::unique_ptr<kf::detail::FileSearch> search);

private:
    std::unique_ptr<kf::detail::FileSearch> m_search;
};
