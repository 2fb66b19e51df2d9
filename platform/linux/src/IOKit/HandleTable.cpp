#include "HandleTable.h"

namespace LinuxPlatform {

io_object_t HandleTable::add(std::shared_ptr<RegistryObject> object) {
    const auto [value, isNew] = m_values.try_emplace(object.get(), IO_OBJECT_NULL);
    if (isNew)
        value->second = unusedValue();
    Slot& slot = m_slots[value->second];
    slot.object = std::move(object);
    ++slot.references;
    ++m_total;
    return value->second;
}

io_object_t HandleTable::unusedValue() {
    do
        ++m_lastValue;
    while (m_lastValue == IO_OBJECT_NULL || m_slots.count(m_lastValue) != 0);
    return m_lastValue;
}

std::shared_ptr<RegistryObject> HandleTable::find(io_object_t handle) const {
    const auto slot = m_slots.find(handle);
    return slot == m_slots.end() ? nullptr : slot->second.object;
}

bool HandleTable::retain(io_object_t handle) {
    const auto slot = m_slots.find(handle);
    if (slot == m_slots.end())
        return false;
    ++slot->second.references;
    ++m_total;
    return true;
}

bool HandleTable::release(io_object_t handle, std::shared_ptr<RegistryObject>& last) {
    const auto slot = m_slots.find(handle);
    if (slot == m_slots.end())
        return false;
    --m_total;
    if (--slot->second.references == 0) {
        last = std::move(slot->second.object);
        m_values.erase(last.get());
        m_slots.erase(slot);
    }
    return true;
}

std::uint32_t HandleTable::count(io_object_t handle) const {
    const auto slot = m_slots.find(handle);
    return slot == m_slots.end() ? 0 : slot->second.references;
}

} // namespace LinuxPlatform
