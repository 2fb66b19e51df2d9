#pragma once

#include <IOKit/IOKitLib.h>

namespace kf::detail {

/// Owns one reference to an object of the device registry (a service, an iterator, a notification) and
/// releases it; may be empty.
class IOObjectHandle {
public:
    explicit IOObjectHandle(io_object_t object = IO_OBJECT_NULL) : m_object(object) {}
    ~IOObjectHandle() { reset(); }

    IOObjectHandle(const IOObjectHandle&) = delete;
    IOObjectHandle& operator=(const IOObjectHandle&) = delete;

    io_object_t get() const { return m_object; }
    explicit operator bool() const { return m_object != IO_OBJECT_NULL; }

    /// Releases the present reference, if any, and takes ownership of `object`.
    void reset(io_object_t object = IO_OBJECT_NULL) {
        if (m_object != IO_OBJECT_NULL)
            IOObjectRelease(m_object);
        m_object = object;
    }

    /// Where a call stores a reference that it passes to the caller. Empties the handle first.
    io_object_t* receive() {
        reset();
        return &m_object;
    }

private:
    io_object_t m_object;
};

} // namespace kf::detail
