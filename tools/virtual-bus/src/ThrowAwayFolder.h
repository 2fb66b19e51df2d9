#pragma once

#include <string>

namespace Zevo {

/// A temporary folder, removed with everything in it.
class ThrowAwayFolder {
public:
    /// Throws std::runtime_error if it cannot be created.
    explicit ThrowAwayFolder(const std::string& name);
    ~ThrowAwayFolder();
    ThrowAwayFolder(const ThrowAwayFolder&) = delete;
    ThrowAwayFolder& operator=(const ThrowAwayFolder&) = delete;

    /// Absolute, with links resolved, without a trailing separator.
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

} // namespace Zevo
