#pragma once

#include <string>

/// Named blocks of raw bytes of one domain, however they are stored.
class BinaryPersistence {
public:
    virtual ~BinaryPersistence() = default;

    /// Stores a copy of `size` bytes, replacing an earlier block.
    /// @return false, with the reason traced, if it could not be stored; the earlier block then remains
    virtual bool writeUnformattedParam(const std::string& name, const char* data, int size) = 0;

    /// @return a new copy of the block, which the caller frees with delete[], and its size in bytes in
    ///         `size`; null, with `size` unchanged, if there is none. A block of size 0 is not null.
    virtual char* readUnformattedParam(const std::string& name, int& size) = 0;

    /// Removes every block.
    virtual void eraseAllParams() = 0;
};
