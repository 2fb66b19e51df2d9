#pragma once

#include <csignal>
#include <string>
#include <sys/types.h>

namespace Zevo {

/// A file that is being written. Where Ctrl-C or a request to terminate ends the program meanwhile, it is removed first, as
/// nobody could tell it from a whole one. A program has one at a time.
class UnfinishedFile {
public:
    /// From here on; the file need not be there yet.
    explicit UnfinishedFile(std::string path);
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    /// It is whole, or was removed.
    ~UnfinishedFile();

    /// A child that writes it, and is ended before it is removed; 0 when there is none any more, said before anybody waits
    /// for its end.
    void isWrittenBy(pid_t writer);

private:
    std::string m_path;
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
