#pragma once

#include "FileDescriptor.h"

#include <string>

/// Holds the lock of a file that several processes read, change and write back. Advisory: it binds those who
/// take it. Released when the object goes or, by the system, when the process dies; never inherited by a
/// program that is started meanwhile.
///
/// The lock stands in a file of its own, pathBeside(path, ".lock"), because the file itself is replaced by
/// every write. That file is left in place: removing it would let two processes hold locks of two files of
/// one name.
class FileLock {
public:
    /// Waits until nobody else (process or thread) holds the lock of `path`. Where the folder allows no new
    /// file, the file itself is locked: the one that stands at `path` once the lock is held.
    explicit FileLock(const std::string& path);

    /// False when the lock could not be had; errno then says why.
    bool isHeld() const { return m_file.isOpen(); }

private:
    FileDescriptor m_file;
};
