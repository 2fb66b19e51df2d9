#include "Trees.h"

#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

/// Changes the working folder for a scope, so that relative paths stay short. The oldest macOS has no openat.
class WorkingFolder {
public:
    explicit WorkingFolder(const std::string& path)
        : m_before(open(".", O_RDONLY | O_CLOEXEC)), m_isThere(chdir(path.c_str()) == 0) {}
    ~WorkingFolder() {
        if (fchdir(m_before) != 0)
            std::abort();
        close(m_before);
    }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

    bool isThere() const { return m_isThere; }

private:
    int m_before;
    bool m_isThere;
};

std::vector<std::string> entriesOf(const std::string& folder) {
    std::vector<std::string> names;
    DIR* const directory = opendir(folder.c_str());
    while (const dirent* entry = directory != nullptr ? readdir(directory) : nullptr) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    if (directory != nullptr)
        closedir(directory);
    return names;
}

} // namespace

std::string makeDeepTree(const std::string& folder, const std::string& name, int levels) {
    const WorkingFolder there(folder);
    std::string path = folder;
    for (int i = 0; i < levels; ++i) {
        if (!there.isThere() || mkdir(name.c_str(), 0777) != 0 || chdir(name.c_str()) != 0)
            throw std::runtime_error("cannot make a deep tree in " + folder);
        path += "/" + name;
    }
    return path;
}

// Moves the grandchildren of a deep tree up rather than descending, so that neither paths nor recursion get
// deep.
void removeDeepTree(const std::string& folder) {
    {
        const WorkingFolder there(folder);
        unsigned moved = 0;
        for (bool emptied = !there.isThere(); !emptied;) {
            const std::vector<std::string> names = entriesOf(".");
            emptied = names.empty();
            for (const std::string& name : names) {
                if (remove(name.c_str()) == 0)
                    continue;
                for (const std::string& child : entriesOf(name))
                    rename((name + "/" + child).c_str(), ("moved-" + std::to_string(moved++)).c_str());
            }
        }
    }
    rmdir(folder.c_str());
}

mode_t modeOf(const std::string& path) {
    struct stat info;
    if (lstat(path.c_str(), &info) != 0)
        throw std::runtime_error("no entry " + path);
    return info.st_mode & 07777;
}

KeepMask::KeepMask(mode_t mask) : m_before(umask(mask)) {}

KeepMask::~KeepMask() {
    umask(m_before);
}

mode_t KeepMask::current() {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}
