#pragma once

#include <string>
#include <sys/types.h>

/// Makes a folder, and one inside another `levels` times, each called `name`; also where the path is longer
/// than the system takes. The returned path leads to the innermost.
std::string makeDeepTree(const std::string& folder, const std::string& name, int levels);

/// Removes a tree of any depth, the folder itself included.
void removeDeepTree(const std::string& folder);

/// The permission bits of an entry, which is not followed.
mode_t modeOf(const std::string& path);

/// Puts the process's file creation mask back at the end of a scope.
class KeepMask {
public:
    /// Sets the mask.
    explicit KeepMask(mode_t mask);
    ~KeepMask();
    KeepMask(const KeepMask&) = delete;
    KeepMask& operator=(const KeepMask&) = delete;

    static mode_t current();

private:
    mode_t m_before;
};
