#pragma once

#include "TemporaryFolder.h"

#include <string>

/// While one exists, the running program appears to be a file called "program" in this folder of its own, so
/// that the product reads its configuration there. One at a time.
class ExecutableFolder {
public:
    ExecutableFolder();
    ~ExecutableFolder();

    ExecutableFolder(const ExecutableFolder&) = delete;
    ExecutableFolder& operator=(const ExecutableFolder&) = delete;

    /// With a trailing separator, with links resolved.
    std::string path() const { return m_path + "/"; }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

private:
    TemporaryFolder m_folder;
    std::string m_path;
};
