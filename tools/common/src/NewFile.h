#pragma once

#include "UnfinishedFile.h"

#include <optional>
#include <string>
#include <string_view>

namespace Zevo {

/// A result that goes to a file which was not there before: nobody's file is written over, and what did not become
/// whole is removed again, also when Ctrl-C ends the program. For its owner's eyes only, as traces and logs are.
class NewFile {
public:
    /// Throws UsageError when the file is there already, std::runtime_error when it cannot be made.
    explicit NewFile(std::string path);
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    /// Removes the file, unless keep() was called.
    ~NewFile();

    /// For those who write by themselves; stays this object's.
    int descriptor() const { return m_file; }
    /// Throws std::runtime_error when not all of it could be written.
    void write(std::string_view text);
    /// The file is whole; nothing is written to it behind that. Throws std::runtime_error, and does not keep it, when the
    /// system has lost something of it.
    void keep();

private:
    std::string m_path;
    int m_file = -1;
    std::optional<UnfinishedFile> m_unfinished;
};

} // namespace Zevo
