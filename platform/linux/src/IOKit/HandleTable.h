#pragma once

#include "RegistryObject.h"

#include <IOKit/IOTypes.h>

#include <memory>
#include <unordered_map>

namespace LinuxPlatform {

/// The io_object_t values that clients hold. A value is reused only after all others, so that one that was
/// released too often is detected instead of naming another object. Used with the server's lock held.
class HandleTable {
public:
    explicit HandleTable(io_object_t lastValue = 0x1000) : m_lastValue(lastValue) {}

    /// Adds a reference. While a client already holds one to the same object, it has the same value.
    io_object_t add(std::shared_ptr<RegistryObject> object);

    /// Null for an invalid reference.
    std::shared_ptr<RegistryObject> find(io_object_t handle) const;

    bool retain(io_object_t handle);
    /// Releases one reference; false if it is invalid. `last` receives the object if this was its last
    /// reference.
    bool release(io_object_t handle, std::shared_ptr<RegistryObject>& last);

    std::uint32_t count(io_object_t handle) const;
    /// The number of references that are held; several to the same object count each.
    std::size_t total() const { return m_total; }

private:
    struct Slot {
        std::shared_ptr<RegistryObject> object;
        std::uint32_t references = 0;
    };

    io_object_t unusedValue();

    io_object_t m_lastValue;
    std::size_t m_total = 0;
    std::unordered_map<io_object_t, Slot> m_slots;
    std::unordered_map<const RegistryObject*, io_object_t> m_values;
};

} // namespace LinuxPlatform
