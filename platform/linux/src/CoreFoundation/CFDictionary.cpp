#include "Diagnostics.h"
#include "Object.h"

#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFString.h>

#include <algorithm>
#include <unordered_map>
#include <vector>

namespace LinuxPlatform {
namespace {

const void* retainObject(CFAllocatorRef, const void* value) {
    return CFRetain(value);
}

void releaseObject(CFAllocatorRef, const void* value) {
    CFRelease(value);
}

const void* copyText(CFAllocatorRef allocator, const void* value) {
    return CFStringCreateCopy(allocator, static_cast<CFStringRef>(value));
}

struct KeyHash {
    CFDictionaryHashCallBack callback;
    std::size_t operator()(const void* key) const {
        return callback ? callback(key) : std::hash<const void*>()(key);
    }
};

struct KeyEqual {
    CFDictionaryEqualCallBack callback;
    bool operator()(const void* left, const void* right) const {
        return left == right || (callback && callback(left, right));
    }
};

} // namespace

/// What a CFDictionaryRef points to.
class Dictionary final : public Object {
public:
    Dictionary(bool isMutable, const CFDictionaryKeyCallBacks* keys, const CFDictionaryValueCallBacks* values)
        : Object(TypeID::Dictionary, Life::Counted), m_isMutable(isMutable),
          m_keys(keys ? *keys : CFDictionaryKeyCallBacks()),
          m_values(values ? *values : CFDictionaryValueCallBacks()),
          m_entries(0, KeyHash{m_keys.hash}, KeyEqual{m_keys.equal}) {}
    ~Dictionary() override { clear(); }

    const CFDictionaryKeyCallBacks& keyCallBacks() const { return m_keys; }
    const CFDictionaryValueCallBacks& valueCallBacks() const { return m_values; }

    CFIndex count() const { return static_cast<CFIndex>(m_entries.size()); }

    bool find(const void* key, const void** value) const {
        const auto entry = m_entries.find(key);
        if (entry == m_entries.end())
            return false;
        if (value)
            *value = entry->second;
        return true;
    }

    /// A copy, so that the iteration stays valid if an applier changes the dictionary.
    std::vector<std::pair<const void*, const void*>> entries() const {
        return {m_entries.begin(), m_entries.end()};
    }

    void add(const void* key, const void* value) {
        if (m_entries.count(key) == 0)
            m_entries.emplace(retainKey(key), retainValue(value));
    }

    void set(const void* key, const void* value) {
        const auto entry = m_entries.find(key);
        if (entry == m_entries.end()) {
            add(key, value);
            return;
        }
        // Retain first: the new value may be the old one.
        const void* old = entry->second;
        entry->second = retainValue(value);
        releaseValue(old);
    }

    void remove(const void* key) {
        const auto entry = m_entries.find(key);
        if (entry == m_entries.end())
            return;
        const auto removed = *entry;
        m_entries.erase(entry);
        releaseEntry(removed);
    }

    void clear() {
        const auto removed = entries();
        m_entries.clear();
        for (const auto& entry : removed)
            releaseEntry(entry);
    }

    bool mayChange(const char* function) const {
        if (!m_isMutable)
            complain("CoreFoundation: %s on a dictionary that is not mutable", function);
        return m_isMutable;
    }

    bool isEqualTo(const Object& other) const override {
        const auto& right = static_cast<const Dictionary&>(other);
        return count() == right.count() &&
               std::all_of(m_entries.begin(), m_entries.end(), [&](const auto& entry) {
                   const void* value = nullptr;
                   return right.find(entry.first, &value) && valuesEqual(entry.second, value);
               });
    }

    CFHashCode hash() const override { return static_cast<CFHashCode>(count()); }
    std::u16string description() const override { return u"<dictionary>"; }

private:
    const void* retainKey(const void* key) const { return m_keys.retain ? m_keys.retain(nullptr, key) : key; }
    const void* retainValue(const void* value) const {
        return m_values.retain ? m_values.retain(nullptr, value) : value;
    }
    void releaseValue(const void* value) const {
        if (m_values.release)
            m_values.release(nullptr, value);
    }
    void releaseEntry(const std::pair<const void*, const void*>& entry) const {
        if (m_keys.release)
            m_keys.release(nullptr, entry.first);
        releaseValue(entry.second);
    }
    bool valuesEqual(const void* left, const void* right) const {
        return left == right || (m_values.equal && m_values.equal(left, right));
    }

    const bool m_isMutable;
    const CFDictionaryKeyCallBacks m_keys;
    const CFDictionaryValueCallBacks m_values;
    std::unordered_map<const void*, const void*, KeyHash, KeyEqual> m_entries;
};

} // namespace LinuxPlatform

using namespace LinuxPlatform;

const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {0,       retainObject, releaseObject,
                                                                nullptr, CFEqual,      CFHash};
const CFDictionaryKeyCallBacks kCFCopyStringDictionaryKeyCallBacks = {0,       copyText, releaseObject,
                                                                      nullptr, CFEqual,  CFHash};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {0, retainObject, releaseObject, nullptr,
                                                                    CFEqual};

CFTypeID CFDictionaryGetTypeID() {
    return static_cast<CFTypeID>(TypeID::Dictionary);
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values, CFIndex numValues,
                                   const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
    auto dictionary = std::make_unique<Dictionary>(false, keyCallBacks, valueCallBacks);
    for (CFIndex index = 0; index < numValues; ++index)
        dictionary->add(keys[index], values[index]);
    return handOver(std::move(dictionary));
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks) {
    return handOver(std::make_unique<Dictionary>(true, keyCallBacks, valueCallBacks));
}

CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef, CFIndex, CFDictionaryRef dictionary) {
    auto copy =
        std::make_unique<Dictionary>(true, &dictionary->keyCallBacks(), &dictionary->valueCallBacks());
    for (const auto& [key, value] : dictionary->entries())
        copy->add(key, value);
    return handOver(std::move(copy));
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
    return dictionary->count();
}

Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key) {
    return dictionary->find(key, nullptr);
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
    const void* value = nullptr;
    dictionary->find(key, &value);
    return value;
}

Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void* key, const void** value) {
    return dictionary->find(key, value);
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys, const void** values) {
    std::size_t index = 0;
    for (const auto& [key, value] : dictionary->entries()) {
        if (keys)
            keys[index] = key;
        if (values)
            values[index] = value;
        ++index;
    }
}

void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction applier,
                               void* context) {
    for (const auto& [key, value] : dictionary->entries())
        applier(key, value, context);
}

void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
    if (dictionary->mayChange("CFDictionaryAddValue"))
        dictionary->add(key, value);
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
    if (dictionary->mayChange("CFDictionarySetValue"))
        dictionary->set(key, value);
}

void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, const void* key) {
    if (dictionary->mayChange("CFDictionaryRemoveValue"))
        dictionary->remove(key);
}

void CFDictionaryRemoveAllValues(CFMutableDictionaryRef dictionary) {
    if (dictionary->mayChange("CFDictionaryRemoveAllValues"))
        dictionary->clear();
}
