#pragma once

#include <cstddef>
#include <string>

/// A named block of raw bytes, and its form in a binary parameter file. Owns a copy of the bytes.
class t_Param {
public:
    /// An unnamed block of size 0.
    t_Param();
    /// Copies `size` bytes, which must not be negative; `data` may be null when it is 0.
    t_Param(const std::string& name, const char* data, int size);
    t_Param(const t_Param& other);
    t_Param& operator=(const t_Param& other);
    virtual ~t_Param();

    /// The number of data bytes.
    int getBufferSize() const;
    /// The data, never null; borrowed until the block is assigned or destroyed.
    const char* getInternalBuffer() const;

    /// The block's record, in the machine's own byte order:
    ///     4 bytes  length of the name + 1
    ///              the name and a NUL
    ///     4 bytes  size of the data
    ///              the data
    /// @return a new buffer of `length` bytes, which the caller frees with delete[]
    char* marshall(int& length) const;

    /// A record in a file: pointers into the file's bytes.
    struct Record {
        const char* name;
        std::size_t nameLength;
        const char* data;
        int size;
    };

    /// Reads the record that begins at `offset` and moves `offset` behind it. DELIBERATE: lengths are trusted
    /// as written, and the name's last byte is taken for its NUL.
    /// @return false, with `offset` unchanged, if no complete record begins there: a length runs past the end
    ///         or leaves no room for the name's NUL
    static bool unMarshall(const char* bytes, std::size_t length, std::size_t& offset, Record& record);

private:
    std::string m_name;
    std::string m_data;
};
