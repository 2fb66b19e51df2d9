#include "Number.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>

namespace LinuxPlatform {
namespace {

/// Both ends of the 64-bit integers as exact doubles; the upper one is the first that does not fit.
const double INTEGERS_BEGIN = -9223372036854775808.0;
const double INTEGERS_END = 9223372036854775808.0;

CFNumberType FixedWidthInteger(std::size_t size) {
    switch (size) {
    case 1:
        return kCFNumberSInt8Type;
    case 2:
        return kCFNumberSInt16Type;
    case 4:
        return kCFNumberSInt32Type;
    default:
        return kCFNumberSInt64Type;
    }
}

/// One of the six fixed-width types for each of the named ones.
CFNumberType Canonical(CFNumberType type) {
    switch (type) {
    case kCFNumberCharType:
        return FixedWidthInteger(sizeof(char));
    case kCFNumberShortType:
        return FixedWidthInteger(sizeof(short));
    case kCFNumberIntType:
        return FixedWidthInteger(sizeof(int));
    case kCFNumberLongType:
    case kCFNumberCFIndexType:
    case kCFNumberNSIntegerType:
        return FixedWidthInteger(sizeof(long));
    case kCFNumberLongLongType:
        return FixedWidthInteger(sizeof(long long));
    case kCFNumberFloatType:
        return kCFNumberFloat32Type;
    case kCFNumberDoubleType:
        return kCFNumberFloat64Type;
    case kCFNumberCGFloatType:
        return sizeof(void*) == 8 ? kCFNumberFloat64Type : kCFNumberFloat32Type;
    default:
        return type;
    }
}

template <class T>
T Read(const void* from) {
    T value;
    std::memcpy(&value, from, sizeof(value));
    return value;
}

template <class T>
void Write(void* to, T value) {
    std::memcpy(to, &value, sizeof(value));
}

/// Nearest 64-bit integer towards zero; false when that is not the value itself.
bool ToInteger(double real, std::int64_t& integer) {
    if (std::isnan(real)) {
        integer = 0;
        return false;
    }
    if (real < INTEGERS_BEGIN || real >= INTEGERS_END) {
        integer =
            real < 0 ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
        return false;
    }
    integer = static_cast<std::int64_t>(real);
    return static_cast<double>(integer) == real;
}

template <class T>
bool WriteInteger(std::int64_t integer, void* to) {
    const auto lowest = static_cast<std::int64_t>(std::numeric_limits<T>::min());
    const auto highest = static_cast<std::int64_t>(std::numeric_limits<T>::max());
    const std::int64_t nearest = std::min(std::max(integer, lowest), highest);
    Write(to, static_cast<T>(nearest));
    return nearest == integer;
}

bool WriteFloat32(double real, void* to) {
    const double limit = std::numeric_limits<float>::max();
    const bool fits = !std::isfinite(real) || std::fabs(real) <= limit;
    const float nearest = static_cast<float>(fits ? real : std::copysign(limit, real));
    Write(to, nearest);
    return std::isnan(real) || static_cast<double>(nearest) == real;
}

bool IsExactDouble(std::int64_t integer) {
    std::int64_t back = 0;
    return ToInteger(static_cast<double>(integer), back) && back == integer;
}

} // namespace

std::unique_ptr<Number> Number::Make(CFNumberType type, const void* value) {
    const CFNumberType fixed = Canonical(type);
    switch (fixed) {
    case kCFNumberSInt8Type:
        return std::make_unique<Number>(fixed, std::int64_t{Read<std::int8_t>(value)});
    case kCFNumberSInt16Type:
        return std::make_unique<Number>(fixed, std::int64_t{Read<std::int16_t>(value)});
    case kCFNumberSInt32Type:
        return std::make_unique<Number>(fixed, std::int64_t{Read<std::int32_t>(value)});
    case kCFNumberSInt64Type:
        return std::make_unique<Number>(fixed, Read<std::int64_t>(value));
    case kCFNumberFloat32Type:
        return std::make_unique<Number>(fixed, double{Read<float>(value)});
    case kCFNumberFloat64Type:
        return std::make_unique<Number>(fixed, Read<double>(value));
    default:
        return nullptr;
    }
}

bool Number::IsReal() const {
    return m_type == kCFNumberFloat32Type || m_type == kCFNumberFloat64Type;
}

bool Number::GetInteger(std::int64_t& value) const {
    if (IsReal())
        return ToInteger(m_real, value);
    value = m_integer;
    return true;
}

bool Number::Get(CFNumberType type, void* value) const {
    const CFNumberType fixed = Canonical(type);
    if (fixed == kCFNumberFloat64Type) {
        Write(value, IsReal() ? m_real : static_cast<double>(m_integer));
        return IsReal() || IsExactDouble(m_integer);
    }
    if (fixed == kCFNumberFloat32Type) {
        const bool exact = IsReal() || IsExactDouble(m_integer);
        return WriteFloat32(IsReal() ? m_real : static_cast<double>(m_integer), value) && exact;
    }
    std::int64_t integer = 0;
    const bool exact = GetInteger(integer);
    switch (fixed) {
    case kCFNumberSInt8Type:
        return WriteInteger<std::int8_t>(integer, value) && exact;
    case kCFNumberSInt16Type:
        return WriteInteger<std::int16_t>(integer, value) && exact;
    case kCFNumberSInt32Type:
        return WriteInteger<std::int32_t>(integer, value) && exact;
    case kCFNumberSInt64Type:
        Write(value, integer);
        return exact;
    default:
        return false;
    }
}

CFComparisonResult Number::CompareTo(const Number& other) const {
    if (!IsReal() && !other.IsReal()) {
        if (m_integer == other.m_integer)
            return kCFCompareEqualTo;
        return m_integer < other.m_integer ? kCFCompareLessThan : kCFCompareGreaterThan;
    }
    const double left = IsReal() ? m_real : static_cast<double>(m_integer);
    const double right = other.IsReal() ? other.m_real : static_cast<double>(other.m_integer);
    // Numbers that are none sort before all others, so that the order stays total.
    if (std::isnan(left) || std::isnan(right)) {
        if (std::isnan(left) && std::isnan(right))
            return kCFCompareEqualTo;
        return std::isnan(left) ? kCFCompareLessThan : kCFCompareGreaterThan;
    }
    if (left == right)
        return kCFCompareEqualTo;
    return left < right ? kCFCompareLessThan : kCFCompareGreaterThan;
}

CFHashCode Number::Hash() const {
    // Through double for every number: an integer and a real of the same value are equal.
    return std::hash<double>()(IsReal() ? m_real : static_cast<double>(m_integer));
}

std::u16string Number::Description() const {
    char text[64];
    if (!IsReal())
        std::snprintf(text, sizeof(text), "%lld", static_cast<long long>(m_integer));
    else
        std::snprintf(text, sizeof(text), "%.*g", m_type == kCFNumberFloat32Type ? 7 : 15, m_real);
    return std::u16string(text, text + std::strlen(text));
}

/// One of the two truth values.
class BooleanValue final : public Object {
public:
    explicit BooleanValue(bool value) : Object(TypeID::Boolean, Life::Constant), m_value(value) {}

    bool Value() const { return m_value; }
    std::u16string Description() const override { return m_value ? u"true" : u"false"; }

private:
    const bool m_value;
};

} // namespace LinuxPlatform

using namespace LinuxPlatform;

// Never destroyed: a signal handler may end the process while the thread that it interrupted holds the lock
// that an object's end takes.
const CFBooleanRef kCFBooleanTrue = std::make_unique<const BooleanValue>(true).release();
const CFBooleanRef kCFBooleanFalse = std::make_unique<const BooleanValue>(false).release();

CFTypeID CFBooleanGetTypeID() {
    return static_cast<CFTypeID>(TypeID::Boolean);
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    return boolean->Value();
}

CFTypeID CFNumberGetTypeID() {
    return static_cast<CFTypeID>(TypeID::Number);
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType theType, const void* valuePtr) {
    return HandOver(Number::Make(theType, valuePtr));
}

CFNumberType CFNumberGetType(CFNumberRef number) {
    return number->NumberType();
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
    return number->IsReal();
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr) {
    return number->Get(theType, valuePtr);
}

CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef otherNumber, void*) {
    return number->CompareTo(*otherNumber);
}
