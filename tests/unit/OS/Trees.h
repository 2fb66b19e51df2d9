#pragma once

#include <string>
#include <sys/types.h>

/// Creates a folder, and in it `levels` nested folders, each called `name`, even if the path becomes longer
/// than the system accepts. Returns the path of the innermost.
std::string makeDeepTree(const std::string& folder, const std::string& name, int levels);

/// Removes a tree of any depth, the folder itself included.
void removeDeepTree(const std::string& folder);

/// The permission bits of an entry; does not follow a link.
mode_t modeOf(const std::string& path);

/// Restores the process's umask at the end of a scope.
class KeepMask {
public:
    /// Sets the umask for the scope.
    explicit KeepMask(mode_t mask);
    ~KeepMask();
    KeepMask(const KeepMask&) = delete;
    KeepMask& operator=(const KeepMask&) = delete;

    static mode_t current();

private:
    mode_t m_before;
};
