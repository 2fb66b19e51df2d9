#pragma once

#include <csignal>
#include <string>
#include <sys/types.h>

namespace Zevo {

/// A file that is being written. It is removed unless keep() is called, because nobody could distinguish it
/// from a complete one: when this object is destroyed, or if Ctrl-C or a request to terminate ends the
/// program. At most one at a time in a program.
class UnfinishedFile {
public:
    /// Starts the protection; the file need not exist yet. `writer` is a child that writes it, and is killed
    /// before Ctrl-C removes the file; 0: none.
    explicit UnfinishedFile(std::string path, pid_t writer = 0);
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    /// Removes the file, unless it was kept. The writer must have ended before.
    ~UnfinishedFile();

    /// To be called when the writer has ended, before its pid can be reused.
    void hasNoWriter();
    /// The file is complete, or was renamed.
    void keep();

private:
    std::string m_path;
    bool m_isKept = false;
};

/// Blocks Ctrl-C and requests to terminate, between creating a file and registering it here.
class HeldInterruptions {
public:
    HeldInterruptions();
    HeldInterruptions(const HeldInterruptions&) = delete;
    HeldInterruptions& operator=(const HeldInterruptions&) = delete;
    ~HeldInterruptions();

    /// The signal mask from before, for children.
    const sigset_t& before() const { return m_before; }

private:
    sigset_t m_before;
};

} // namespace Zevo
