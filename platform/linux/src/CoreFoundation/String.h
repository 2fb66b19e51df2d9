#pragma once

#include "Object.h"

#include <CoreFoundation/CFString.h>

#include <string>
#include <string_view>

namespace LinuxPlatform {

/// What a CFStringRef points to.
class String final : public Object {
public:
    explicit String(std::u16string units, Life life = Life::Counted)
        : Object(TypeID::String, life), m_units(std::move(units)) {}

    const std::u16string& units() const { return m_units; }

    bool isEqualTo(const Object& other) const override {
        return m_units == static_cast<const String&>(other).m_units;
    }
    CFHashCode hash() const override { return std::hash<std::u16string>()(m_units); }
    std::u16string description() const override { return m_units; }

private:
    const std::u16string m_units;
};

/// A new text from UTF-8, owned by the caller. Bytes that are not UTF-8 are read as ISO Latin-1, so that no
/// device can make its own description unreadable.
CFStringRef makeString(std::string_view text);

/// The text in UTF-8.
std::string textOf(CFStringRef text);

/// printf with "%@".
std::u16string formatText(std::u16string_view format, va_list arguments);

} // namespace LinuxPlatform
