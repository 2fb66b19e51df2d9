#pragma once

#include "Registry.h"

#include <CoreFoundation/CFDictionary.h>

namespace LinuxPlatform {

/// What a matching dictionary asks for, read once so that the dictionary can be given up.
class MatchingCriteria {
public:
    explicit MatchingCriteria(CFDictionaryRef dictionary);

    bool Match(const RegistryEntry& service) const;
    /// All that match, parents before their children.
    std::vector<EntryPointer> MatchesIn(const Registry& registry) const;

private:
    void Read(CFDictionaryRef dictionary);
    void ReadPair(CFTypeRef key, CFTypeRef value);
    void ReadNested(CFTypeRef dictionary);

    std::string m_className;
    std::optional<std::string> m_name;
    std::vector<std::pair<std::string, PropertyValue>> m_properties;
    bool m_isImpossible = false; ///< asks for what no entry can have
};

} // namespace LinuxPlatform
