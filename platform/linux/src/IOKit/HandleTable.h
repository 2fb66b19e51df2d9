#pragma once

#include "RegistryObject.h"

#include <IOKit/IOTypes.h>

#include <memory>
#include <unordered_map>

namespace LinuxPlatform {

/// The io_object_t values that clients hold. A value is not used again before all others have been, so that
/// one that was released too often is recognised instead of meaning something else. Used with the server's
/// lock held.
class HandleTable {
public:
    explicit HandleTable(io_object_t lastValue = 0x1000) : m_lastValue(lastValue) {}

    /// A new reference. While a client holds one to the same object already, it has the same value.
    io_object_t add(std::shared_ptr<RegistryObject> object);

    /// nullptr for what is no reference.
    std::shared_ptr<RegistryObject> find(io_object_t handle) const;

    bool retain(io_object_t handle);
    /// Gives up one reference. Returns false for what is none; `last` receives the object when this was the
    /// last one.
    bool release(io_object_t handle, std::shared_ptr<RegistryObject>& last);

    std::uint32_t count(io_object_t handle) const;
    /// All references that are held, those to the same object counted each.
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
