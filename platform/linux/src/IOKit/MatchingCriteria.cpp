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

template <class Use>
void ForEachPair(CFDictionaryRef dictionary, Use use) {
    CFDictionaryApplyFunction(
        dictionary,
        [](const void* key, const void* value, void* context) { (*static_cast<Use*>(context))(key, value); },
        &use);
}

template <class Pairs>
bool HasAll(const RegistryEntry& service, const Pairs& wanted) {
    return std::all_of(wanted.begin(), wanted.end(), [&](const auto& pair) {
        const PropertyValue* const actual = service.FindProperty(pair.first);
        return actual && pair.second && *actual == *pair.second;
    });
}

} // namespace

MatchingCriteria::MatchingCriteria(CFDictionaryRef dictionary) : m_className(ClassName::SERVICE) {
    ForEachPair(dictionary, [this](CFTypeRef key, CFTypeRef value) { ReadPair(key, value); });
}

void MatchingCriteria::ReadPair(CFTypeRef key, CFTypeRef value) {
    const std::optional<std::string> keyText = AsText(key);
    const std::optional<std::string> text = AsText(value);
    if (keyText == kIOPropertyMatchKey)
        ReadNested(value);
    else if (keyText == kIOProviderClassKey && text)
        m_className = *text;
    else if (keyText == kIONameMatchKey && text)
        m_name = *text;
    else
        m_other.emplace_back(keyText.value_or(""), AsProperty(value));
}

void MatchingCriteria::ReadNested(CFTypeRef dictionary) {
    if (dictionary && CFGetTypeID(dictionary) == CFDictionaryGetTypeID())
        ForEachPair(static_cast<CFDictionaryRef>(dictionary), [this](CFTypeRef key, CFTypeRef value) {
            m_properties.emplace_back(AsText(key).value_or(""), AsProperty(value));
        });
    else
        m_properties.emplace_back("", std::nullopt);
}

bool MatchingCriteria::Match(const RegistryEntry& service, const KernelHabits& habits) const {
    // The class last: to find out what it derives from takes longest.
    return (!m_name || service.Name() == *m_name) && HasAll(service, m_properties) &&
           MatchOther(service, habits) && ClassConformsTo(service.ClassName(), m_className);
}

bool MatchingCriteria::MatchOther(const RegistryEntry& service, const KernelHabits& habits) const {
    if (m_other.empty())
        return true;
    return habits.matching ? PassClass(service) : HasAll(service, m_other);
}

// A USB device wants both of its ids to be asked for, a USB interface its number as well, which this registry
// does not publish. Other classes know none of these keys.
bool MatchingCriteria::PassClass(const RegistryEntry& service) const {
    if (ClassConformsTo(service.ClassName(), ClassName::USB_DEVICE))
        return AsksForIdsOf(service);
    return !ClassConformsTo(service.ClassName(), ClassName::USB_INTERFACE);
}

bool MatchingCriteria::AsksForIdsOf(const RegistryEntry& device) const {
    const auto asksFor = [&](const char* key) {
        const PropertyValue* const actual = device.FindProperty(key);
        return actual && std::any_of(m_other.begin(), m_other.end(), [&](const auto& pair) {
                   return pair.first == key && pair.second && *pair.second == *actual;
               });
    };
    return asksFor("idVendor") && asksFor("idProduct");
}

std::vector<EntryPointer> MatchingCriteria::MatchesIn(const Registry& registry) const {
    const Registry::ServiceTable* candidates = &registry.Services();
    const Pairs none;
    for (const auto& [key, value] : registry.Habits().matching ? none : m_other) {
        const std::int32_t* const number = value ? std::get_if<std::int32_t>(&*value) : nullptr;
        const Registry::ServiceTable* const with =
            number ? registry.FindServicesWith(key, *number) : candidates;
        if (!with)
            return {};
        if (with->size() < candidates->size())
            candidates = with;
    }
    std::vector<EntryPointer> matches;
    for (const auto& [id, service] : *candidates) {
        if (Match(*service, registry.Habits()))
            matches.push_back(service);
    }
    return matches;
}

} // namespace LinuxPlatform
