#include "detail/FileSearch.h"

#include <algorithm>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace kf::detail {

// The enumeration keeps no folder open between two calls, and needs no more stack for a deeper tree: a folder
// is read completely when its turn comes, and the paths of its entries are stacked. A tree may be deeper than
// PATH_MAX allows a path to be, so a folder is opened in several steps.

namespace {

/// The most characters of a path that one openat() takes.
constexpr std::size_t PATH_STEP = 2048;

std::size_t charLength(std::string_view text, std::size_t at) {
    std::size_t end = at + 1;
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        ++end;
    return end - at;
}

/// "*" matches any run of characters, "?" one character (a whole UTF-8 sequence, not a byte), everything else
/// itself. After a mismatch only the last "*" has to match more, so the time is bounded by the product of
/// both lengths.
bool isLike(std::string_view text, std::string_view pattern) {
    std::size_t t = 0, p = 0;
    std::size_t star = std::string_view::npos, starText = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            starText = t;
        } else if (p < pattern.size() && pattern[p] == '?') {
            t += charLength(text, t);
            ++p;
        } else if (p < pattern.size() && pattern[p] == text[t]) {
            ++t;
            ++p;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            starText += charLength(text, starText);
            t = starText;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

class FolderSearch : public FileSearch {
public:
    FolderSearch(const std::string& folder, const std::string& pattern)
        : m_folder(folder), m_pattern(pattern) {
        readFolder("");
    }

    bool next(std::string& name) override {
        while (!m_pending.empty()) {
            const Entry entry = m_pending.back();
            m_pending.pop_back();
            if (entry.isFolder)
                readFolder(entry.path);
            if (isLike(entry.path, m_pattern)) {
                name = entry.path;
                return true;
            }
        }
        return false;
    }

private:
    struct Entry {
        std::string path; // below m_folder
        bool isFolder;    // a real one, not a link
    };

    /// Stacks a folder's entries on top of all pending ones, so that they come next.
    void readFolder(const std::string& path);
    int openFolder(const std::string& path) const;

    const std::string m_folder;
    const std::string m_pattern;
    std::vector<Entry> m_pending; // a stack, the next entry at the back
};

bool isFolder(DIR* directory, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN)
        return entry.d_type == DT_DIR;
    struct stat info;
    return fstatat(dirfd(directory), entry.d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode);
}

void FolderSearch::readFolder(const std::string& path) {
    const int descriptor = openFolder(path);
    DIR* directory = descriptor < 0 ? nullptr : fdopendir(descriptor);
    if (directory == nullptr) {
        if (descriptor >= 0)
            close(descriptor);
        return;
    }
    const std::size_t first = m_pending.size();
    while (const dirent* entry = readdir(directory)) {
        if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0) {
            m_pending.push_back(
                {path.empty() ? entry->d_name : path + "/" + entry->d_name, isFolder(directory, *entry)});
        }
    }
    closedir(directory);
    std::reverse(m_pending.begin() + static_cast<std::ptrdiff_t>(first), m_pending.end());
}

/// Opens a folder below m_folder. Follows no link, because one may have taken a folder's place meanwhile.
int FolderSearch::openFolder(const std::string& path) const {
    constexpr int FLAGS = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    int folder = open(m_folder.c_str(), FLAGS);
    for (std::size_t at = 0; folder >= 0 && at < path.size();) {
        std::size_t end = path.size();
        if (end - at > PATH_STEP)
            end = path.rfind('/', at + PATH_STEP);
        const int below = openat(folder, path.substr(at, end - at).c_str(), FLAGS | O_NOFOLLOW);
        close(folder);
        folder = below;
        at = end + 1;
    }
    return folder;
}

} // namespace

std::unique_ptr<FileSearch> FileSearch::begin(const std::string& folder, const std::string& pattern,
                                              Manager) {
    return std::make_unique<FolderSearch>(folder, pattern);
}

} // namespace kf::detail
