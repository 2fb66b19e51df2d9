#pragma once

#include <string>

/// What write(2) does to one file of this program, as long as one of these lives: there is no room for it, or it hangs.
/// One at a time. A program that uses it links FaultyDisk.cpp, which stands in for write(2).
class FaultyDisk {
public:
    enum class Fault { IsFull, Hangs };

    /// @param path  the file need not be there yet; up to 1023 bytes
    FaultyDisk(const std::string& path, Fault fault);
    /// The file can be written again, and who hung goes on.
    ~FaultyDisk();
    FaultyDisk(const FaultyDisk&) = delete;
    FaultyDisk& operator=(const FaultyDisk&) = delete;

    /// Whether a write has met the fault.
    bool wasMet() const;
};
