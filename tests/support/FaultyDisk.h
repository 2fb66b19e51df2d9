#pragma once

#include <string>

/// While one exists, write(2) on one file of this program fails for lack of space, or blocks. One at a time.
/// A program that uses it links FaultyDisk.cpp, which replaces write(2).
class FaultyDisk {
public:
    enum class Fault { IsFull, Hangs };

    /// @param path  up to 1023 bytes; the file need not exist yet
    FaultyDisk(const std::string& path, Fault fault);
    /// Ends the fault: the file can be written again, and blocked calls go on.
    ~FaultyDisk();
    FaultyDisk(const FaultyDisk&) = delete;
    FaultyDisk& operator=(const FaultyDisk&) = delete;

    /// Whether a write has hit the fault.
    bool wasMet() const;
};
