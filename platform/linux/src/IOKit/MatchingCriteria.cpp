#include "MatchingCriteria.h"

#include "ClassTree.h"
#include "Number.h"
#include "String.h"

#include <algorithm>
#include <limits>

#include <IOKit/IOKitKeys.h>

namespace LinuxPlatform {
namespace {

std::optional<std::string> AsText(CFTypeRef value) {
    if (!value || CFGetTypeID(value) != CFStringGetTypeID())
        return std::nullopt;
    return TextOf(static_cast<CFStringRef>(value));
}

std::optional<PropertyValue> AsProperty(CFTypeRef value) {
    if (std::optional<std::string> text = AsText(value))
        return PropertyValue(std::move(*text));
    std::int64_t integer = 0;
    if (!value || CFGetTypeID(value) != CFNumberGetTypeID() ||
        !static_cast<CFNumberRef>(value)->GetInteger(integer) ||
        integer < std::numeric_limits<std::int32_t>::min() ||
        integer > std::numeric_limits<std::int32_t>::max())
        return std::nullopt;
    return PropertyValue(static_cast<std::int32_t>(integer));
}

} // namespace

MatchingCriteria::MatchingCriteria(CFDictionaryRef dictionary) : m_className(ClassName::SERVICE) {
    Read(dictionary);
}

void MatchingCriteria::Read(CFDictionaryRef dictionary) {
    CFDictionaryApplyFunction(
        dictionary,
        [](const void* key, const void* value, void* self) {
            static_cast<MatchingCriteria*>(self)->ReadPair(key, value);
        },
        this);
}

void MatchingCriteria::ReadPair(CFTypeRef key, CFTypeRef value) {
    const std::optional<std::string> keyText = AsText(key);
    const std::optional<PropertyValue> property = AsProperty(value);
    const std::string* text = property ? std::get_if<std::string>(&*property) : nullptr;
    if (keyText == kIOPropertyMatchKey)
        ReadNested(value);
    else if (!keyText || !property)
        m_isImpossible = true;
    else if (*keyText == kIOProviderClassKey && text)
        m_className = *text;
    else if (*keyText == kIONameMatchKey && text)
        m_name = *text;
    else
        m_properties.emplace_back(*keyText, *property);
}

void MatchingCriteria::ReadNested(CFTypeRef dictionary) {
    if (dictionary && CFGetTypeID(dictionary) == CFDictionaryGetTypeID())
        Read(static_cast<CFDictionaryRef>(dictionary));
    else
        m_isImpossible = true;
}

bool MatchingCriteria::Match(const RegistryEntry& service) const {
    // The class last: to find out what it derives from takes longest.
    return !m_isImpossible && (!m_name || service.Name() == *m_name) &&
           std::all_of(m_properties.begin(), m_properties.end(),
                       [&](const auto& wanted) {
                           const PropertyValue* actual = service.FindProperty(wanted.first);
                           return actual && *actual == wanted.second;
                       }) &&
           ClassConformsTo(service.ClassName(), m_className);
}

std::vector<EntryPointer> MatchingCriteria::MatchesIn(const Registry& registry) const {
    const Registry::ServiceTable* candidates = &registry.Services();
    for (const auto& [key, value] : m_properties) {
        const std::int32_t* const number = std::get_if<std::int32_t>(&value);
        const Registry::ServiceTable* const with =
            number ? registry.FindServicesWith(key, *number) : candidates;
        if (!with)
            return {};
        if (with->size() < candidates->size())
            candidates = with;
    }
    std::vector<EntryPointer> matches;
    for (const auto& [id, service] : *candidates) {
        if (Match(*service))
            matches.push_back(service);
    }
    return matches;
}

} // namespace LinuxPlatform
