#pragma once

#include "Registry.h"

#include <CoreFoundation/CFDictionary.h>

namespace LinuxPlatform {

/// What a matching dictionary asks for, read once so that the dictionary can be released.
///
/// The keys that every service knows (class, name, properties in a nested dictionary) apply to all. Any other
/// key stands for a property of that name; with the kernel's habit of matching, the service's class decides
/// what it means.
class MatchingCriteria {
public:
    explicit MatchingCriteria(CFDictionaryRef dictionary);

    bool match(const RegistryEntry& service, const KernelHabits& habits) const;
    /// All that match, parents before their children.
    std::vector<EntryPointer> matchesIn(const Registry& registry) const;

private:
    /// No value: one that no entry can have.
    using Pairs = std::vector<std::pair<std::string, std::optional<PropertyValue>>>;

    void readPair(CFTypeRef key, CFTypeRef value);
    void readNested(CFTypeRef dictionary);
    bool matchOther(const RegistryEntry& service, const KernelHabits& habits) const;
    bool passClass(const RegistryEntry& service) const;
    bool asksForIdsOf(const RegistryEntry& device) const;

    std::string m_className;
    std::optional<std::string> m_name;
    Pairs m_properties; ///< of the nested dictionary
    Pairs m_other;
};

} // namespace LinuxPlatform
