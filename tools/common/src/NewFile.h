#pragma once

#include "UnfinishedFile.h"

#include <optional>
#include <string>
#include <string_view>

namespace Zevo {

/// An output file that must not exist yet, so no existing file is overwritten. An incomplete file is removed
/// again, also if Ctrl-C ends the program. Only its owner may read it, as with traces and logs.
class NewFile {
public:
    /// Throws UsageError if the file exists already, std::runtime_error if it cannot be created.
    explicit NewFile(std::string path);
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    /// Removes the file, unless keep() was called.
    ~NewFile();

    /// For callers that write to it themselves; this object keeps the ownership.
    int descriptor() const { return m_file; }
    /// Throws std::runtime_error if not all of it could be written.
    void write(std::string_view text);
    /// The file is complete; nothing more is written to it. If the system has lost some of it, throws
    /// std::runtime_error and does not keep it.
    void keep();

private:
    std::string m_path;
    int m_file = -1;
    std::optional<UnfinishedFile> m_unfinished;
};

} // namespace Zevo
