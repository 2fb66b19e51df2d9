#pragma once

#include <unistd.h>
#include <utility>

namespace Zevo {

/** Closes what it owns. */
class OwnedDescriptor {
public:
    explicit OwnedDescriptor(int descriptor = -1) : m_descriptor(descriptor) {}
    OwnedDescriptor(OwnedDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~OwnedDescriptor() {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }

    int get() const { return m_descriptor; }
    explicit operator bool() const { return m_descriptor >= 0; }

private:
    int m_descriptor;
};

} // namespace Zevo
