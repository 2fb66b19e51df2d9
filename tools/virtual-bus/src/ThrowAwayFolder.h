#pragma once

#include <string>

namespace Zevo {

/// A folder of its own below the temporary folder, removed with everything in it.
class ThrowAwayFolder {
public:
    /// Throws std::runtime_error when there is no room for it.
    explicit ThrowAwayFolder(const std::string& name);
    ~ThrowAwayFolder();
    ThrowAwayFolder(const ThrowAwayFolder&) = delete;
    ThrowAwayFolder& operator=(const ThrowAwayFolder&) = delete;

    /// Absolute, free of links, without a separator at its end.
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

} // namespace Zevo
