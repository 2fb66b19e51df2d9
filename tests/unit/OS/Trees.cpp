#include "Trees.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

static constexpr int FLAGS = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

std::string makeDeepTree(const std::string& folder, const std::string& name, int levels) {
    std::string path = folder;
    int current = open(folder.c_str(), FLAGS);
    for (int i = 0; i < levels; ++i) {
        if (mkdirat(current, name.c_str(), 0777) != 0) {
            throw std::runtime_error("cannot make a deep tree in " + folder);
        }
        const int below = openat(current, name.c_str(), FLAGS);
        close(current);
        current = below;
        path += "/" + name;
    }
    close(current);
    return path;
}

// Moves the grandchildren of a long chain up instead of walking down, so no path and no recursion gets long.
void removeDeepTree(const std::string& folder) {
    const int top = open(folder.c_str(), FLAGS);
    if (top < 0) {
        return;
    }
    for (bool emptied = false; !emptied;) {
        emptied = true;
        const int listed = openat(top, ".", FLAGS);
        DIR* directory = fdopendir(listed);
        static unsigned moved = 0;
        while (const dirent* entry = readdir(directory)) {
            const std::string name = entry->d_name;
            if (name == "." || name == "..") {
                continue;
            }
            emptied = false;
            if (unlinkat(top, name.c_str(), 0) == 0 || unlinkat(top, name.c_str(), AT_REMOVEDIR) == 0) {
                continue;
            }
            const int below = openat(top, name.c_str(), FLAGS);
            DIR* inner = fdopendir(below);
            while (const dirent* child = readdir(inner)) {
                const std::string childName = child->d_name;
                if (childName != "." && childName != "..") {
                    renameat(below, child->d_name, top, ("moved-" + std::to_string(moved++)).c_str());
                }
            }
            closedir(inner);
        }
        closedir(directory);
    }
    close(top);
    rmdir(folder.c_str());
}

mode_t modeOf(const std::string& path) {
    struct stat info;
    if (lstat(path.c_str(), &info) != 0) {
        throw std::runtime_error("no entry " + path);
    }
    return info.st_mode & 07777;
}

// The capabilities to pass over permissions are switched off and on again; the user stays the same, so that
// the owner's permissions count.
static uint32_t exchangeCapabilities(uint32_t drop, uint32_t add) {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2];
    if (syscall(SYS_capget, &header, data) != 0) {
        throw std::runtime_error("cannot read the capabilities");
    }
    const uint32_t before = data[0].effective;
    data[0].effective = (before & ~drop) | add;
    if (syscall(SYS_capset, &header, data) != 0) {
        throw std::runtime_error("cannot change the capabilities");
    }
    return before;
}

WithoutPrivileges::WithoutPrivileges()
    : m_effective(exchangeCapabilities(1u << CAP_DAC_OVERRIDE | 1u << CAP_DAC_READ_SEARCH, 0)) {}

WithoutPrivileges::~WithoutPrivileges() {
    exchangeCapabilities(0, m_effective);
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
