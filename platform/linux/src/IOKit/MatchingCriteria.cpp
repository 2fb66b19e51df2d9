#include "MatchingCriteria.h"

#include "ClassTree.h"
#include "Number.h"
#include "String.h"

#include <algorithm>
#include <limits>

#include <IOKit/IOKitKeys.h>

namespace LinuxPlatform {
namespace {

std::optional<std::string> asText(CFTypeRef value) {
    if (!value || CFGetTypeID(value) != CFStringGetTypeID())
        return std::nullopt;
    return textOf(static_cast<CFStringRef>(value));
}

std::optional<PropertyValue> asProperty(CFTypeRef value) {
    if (std::optional<std::string> text = asText(value))
        return PropertyValue(std::move(*text));
    std::int64_t integer = 0;
    if (!value || CFGetTypeID(value) != CFNumberGetTypeID() ||
        !static_cast<CFNumberRef>(value)->getInteger(integer) ||
        integer < std::numeric_limits<std::int32_t>::min() ||
        integer > std::numeric_limits<std::int32_t>::max())
        return std::nullopt;
    return PropertyValue(static_cast<std::int32_t>(integer));
}

template <class Use>
void forEachPair(CFDictionaryRef dictionary, Use use) {
    CFDictionaryApplyFunction(
        dictionary,
        [](const void* key, const void* value, void* context) { (*static_cast<Use*>(context))(key, value); },
        &use);
}

template <class Pairs>
bool hasAll(const RegistryEntry& service, const Pairs& wanted) {
    return std::all_of(
        wanted.begin(), wanted.end(),
        [&](const auto& pair) {
            const PropertyValue* const actual = service.findProperty(pair.first);
            return actual && pair.second && *actual == *pair.second;
        });
}

} // namespace

MatchingCriteria::MatchingCriteria(CFDictionaryRef dictionary) : m_className(ClassName::SERVICE) {
    forEachPair(
        dictionary, [this](CFTypeRef key, CFTypeRef value) { readPair(key, value); });
}

void MatchingCriteria::readPair(CFTypeRef key, CFTypeRef value) {
    const std::optional<std::string> keyText = asText(key);
    const std::optional<std::string> text = asText(value);
    if (keyText == kIOPropertyMatchKey)
        readNested(value);
    else if (keyText == kIOProviderClassKey && text)
        m_className = *text;
    else if (keyText == kIONameMatchKey && text)
        m_name = *text;
    else
        m_other.emplace_back(keyText.value_or(""), asProperty(value));
}

void MatchingCriteria::readNested(CFTypeRef dictionary) {
    if (dictionary && CFGetTypeID(dictionary) == CFDictionaryGetTypeID())
        forEachPair(static_cast<CFDictionaryRef>(dictionary), [this](CFTypeRef key, CFTypeRef value) {
            m_properties.emplace_back(asText(key).value_or(""), asProperty(value));
        });
    else
        m_properties.emplace_back("", std::nullopt);
}

bool MatchingCriteria::match(const RegistryEntry& service, const KernelHabits& habits) const {
    // The class last: finding out what it derives from takes longest.
    return (!m_name || service.name() == *m_name) && hasAll(service, m_properties) &&
           matchOther(service, habits) && classConformsTo(service.className(), m_className);
}

bool MatchingCriteria::matchOther(const RegistryEntry& service, const KernelHabits& habits) const {
    if (m_other.empty())
        return true;
    return habits.matching ? passClass(service) : hasAll(service, m_other);
}

/// A USB device requires both of its ids, a USB interface also its number, which this registry does not
/// publish. Other classes know none of these keys.
bool MatchingCriteria::passClass(const RegistryEntry& service) const {
    if (classConformsTo(service.className(), ClassName::USB_DEVICE))
        return asksForIdsOf(service);
    return !classConformsTo(service.className(), ClassName::USB_INTERFACE);
}

bool MatchingCriteria::asksForIdsOf(const RegistryEntry& device) const {
    const auto asksFor = [&](const char* key) {
        const PropertyValue* const actual = device.findProperty(key);
        return actual && std::any_of(m_other.begin(), m_other.end(), [&](const auto& pair) {
                   return pair.first == key && pair.second && *pair.second == *actual;
               });
    };
    return asksFor("idVendor") && asksFor("idProduct");
}

std::vector<EntryPointer> MatchingCriteria::matchesIn(const Registry& registry) const {
    const Registry::ServiceTable* candidates = &registry.services();
    const Pairs none;
    for (const auto& [key, value] : registry.habits().matching ? none : m_other) {
        const std::int32_t* const number = value ? std::get_if<std::int32_t>(&*value) : nullptr;
        const Registry::ServiceTable* const with =
            number ? registry.findServicesWith(key, *number) : candidates;
        if (!with)
            return {};
        if (with->size() < candidates->size())
            candidates = with;
    }
    std::vector<EntryPointer> matches;
    for (const auto& [id, service] : *candidates)
        if (match(*service, registry.habits()))
            matches.push_back(service);
    return matches;
}

} // namespace LinuxPlatform
