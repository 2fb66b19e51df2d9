#pragma once

#include "RegistryObject.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace LinuxPlatform {

/// Is notified when one entry has left the registry. Used with the server's lock held.
class EntryObserver {
public:
    virtual ~EntryObserver() = default;
    virtual void entryTerminated() = 0;
};

using PropertyValue = std::variant<std::int32_t, std::string>;
using PropertyTable = std::map<std::string, PropertyValue, std::less<>>;

/// A node of the registry. Class, name and properties do not change once it is published; only Registry
/// changes its position in the graph.
class RegistryEntry final : public RegistryObject {
public:
    RegistryEntry(std::uint64_t id, std::string className, std::string name, PropertyTable properties);

    std::string_view className() const override { return m_className; }
    std::uint64_t id() const { return m_id; }
    const std::string& name() const { return m_name; }
    std::uint32_t location() const { return m_location; }
    const PropertyTable& properties() const { return m_properties; }
    const PropertyValue* findProperty(std::string_view key) const;

    /// Empty for the root, and once the entry has left the registry.
    const std::vector<RegistryEntry*>& parents() const { return m_parents; }
    const std::vector<std::shared_ptr<RegistryEntry>>& children() const { return m_children; }
    bool isAttached() const { return m_isAttached; }

    void addObserver(EntryObserver& observer) { m_observers.push_back(&observer); }
    void removeObserver(EntryObserver& observer);

    /// "IOService:/...", along the first parents; nothing if the entry has left the registry.
    ///
    /// Each component ends in "@" and a location of eight digits that is unique among its siblings, and no
    /// name contains a slash. So one path is a prefix of another only if its entry is above the other's.
    std::optional<std::string> path() const;

private:
    friend class Registry;

    std::string component() const;

    const std::uint64_t m_id;
    const std::string m_className;
    const std::string m_name;
    const PropertyTable m_properties;
    std::uint32_t m_location = 0;
    bool m_isAttached = false;
    std::vector<RegistryEntry*> m_parents;
    std::vector<std::shared_ptr<RegistryEntry>> m_children;
    std::vector<EntryObserver*> m_observers;
};

using EntryPointer = std::shared_ptr<RegistryEntry>;

} // namespace LinuxPlatform
