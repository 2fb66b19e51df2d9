#pragma once

#include <csignal>
#include <string>
#include <sys/types.h>

namespace Zevo {

/// A file that is being written, and is removed unless keep() is called, as nobody could tell it from a whole one: at the
/// end of this object, and where Ctrl-C or a request to terminate ends the program. A program has one at a time.
class UnfinishedFile {
public:
    /// From here on; the file need not be there yet. `writer` is a child that writes it, and is ended before Ctrl-C removes it;
    /// 0 for none.
    explicit UnfinishedFile(std::string path, pid_t writer = 0);
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    /// Removes the file, unless it was kept. The writer has ended before that.
    ~UnfinishedFile();

    /// The writer has ended; to be said before its process number may be another's.
    void hasNoWriter();
    /// The file is whole, or has got another name.
    void keep();

private:
    std::string m_path;
    bool m_isKept = false;
};

/// Holds Ctrl-C and requests to terminate back, for the moment between making a file and knowing of it.
class HeldInterruptions {
public:
    HeldInterruptions();
    HeldInterruptions(const HeldInterruptions&) = delete;
    HeldInterruptions& operator=(const HeldInterruptions&) = delete;
    ~HeldInterruptions();

    /// What was held back before, for children.
    const sigset_t& before() const { return m_before; }

private:
    sigset_t m_before;
};

} // namespace Zevo
