#pragma once

#include "Object.h"

#include <CoreFoundation/CFNumber.h>

namespace LinuxPlatform {

/// What a CFNumberRef points to: a 64-bit integer or a double, and the type that it was created with.
class Number final : public Object {
public:
    Number(CFNumberType type, std::int64_t value)
        : Object(TypeID::Number, Life::Counted), m_type(type), m_integer(value) {}
    Number(CFNumberType type, double value)
        : Object(TypeID::Number, Life::Counted), m_type(type), m_real(value) {}

    /// Null for an unknown type.
    static std::unique_ptr<Number> make(CFNumberType type, const void* value);

    CFNumberType numberType() const { return m_type; }
    bool isReal() const;

    /// As CFNumberGetValue.
    bool get(CFNumberType type, void* value) const;
    bool getInteger(std::int64_t& value) const;
    CFComparisonResult compareTo(const Number& other) const;

    bool isEqualTo(const Object& other) const override {
        return compareTo(static_cast<const Number&>(other)) == kCFCompareEqualTo;
    }
    CFHashCode hash() const override;
    std::u16string description() const override;

private:
    const CFNumberType m_type;
    const std::int64_t m_integer = 0;
    const double m_real = 0;
};

} // namespace LinuxPlatform
