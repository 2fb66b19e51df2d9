#pragma once

#include <cerrno>
#include <cstdlib>
#include <ftw.h>
#include <stdexcept>
#include <string>
#include <unistd.h>

/// A temporary folder for one test, below $TMPDIR; removed with its content when the object is destroyed.
class TemporaryFolder {
public:
    TemporaryFolder() {
        const char* base = getenv("TMPDIR");
        m_path = std::string(base != nullptr ? base : "/tmp") + "/test-XXXXXX";
        if (mkdtemp(&m_path[0]) == nullptr)
            throw std::runtime_error("cannot create a temporary folder like " + m_path);
    }
    ~TemporaryFolder() {
        nftw(
            m_path.c_str(),
            [](const char* path, const struct stat*, int, struct FTW*) { return remove(path); }, 16,
            FTW_DEPTH | FTW_PHYS);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// Without a trailing separator.
    const std::string& path() const { return m_path; }
    /// The path of an entry of the folder.
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};
