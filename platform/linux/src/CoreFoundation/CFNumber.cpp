#include "Number.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>

namespace LinuxPlatform {
namespace {

/// The range of the 64-bit integers as exact doubles; the upper end is the first value that does not fit.
const double INTEGERS_BEGIN = -9223372036854775808.0;
const double INTEGERS_END = 9223372036854775808.0;

CFNumberType fixedWidthInteger(std::size_t size) {
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

/// Maps each named type to one of the six fixed-width types.
CFNumberType canonical(CFNumberType type) {
    switch (type) {
    case kCFNumberCharType:
        return fixedWidthInteger(sizeof(char));
    case kCFNumberShortType:
        return fixedWidthInteger(sizeof(short));
    case kCFNumberIntType:
        return fixedWidthInteger(sizeof(int));
    case kCFNumberLongType:
    case kCFNumberCFIndexType:
    case kCFNumberNSIntegerType:
        return fixedWidthInteger(sizeof(long));
    case kCFNumberLongLongType:
        return fixedWidthInteger(sizeof(long long));
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
T read(const void* from) {
    T value;
    std::memcpy(&value, from, sizeof(value));
    return value;
}

template <class T>
void write(void* to, T value) {
    std::memcpy(to, &value, sizeof(value));
}

/// The nearest 64-bit integer towards zero; false if that is not the value itself.
bool toInteger(double real, std::int64_t& integer) {
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
bool writeInteger(std::int64_t integer, void* to) {
    const auto lowest = static_cast<std::int64_t>(std::numeric_limits<T>::min());
    const auto highest = static_cast<std::int64_t>(std::numeric_limits<T>::max());
    const std::int64_t nearest = std::min(std::max(integer, lowest), highest);
    write(to, static_cast<T>(nearest));
    return nearest == integer;
}

bool writeFloat32(double real, void* to) {
    const double limit = std::numeric_limits<float>::max();
    const bool fits = !std::isfinite(real) || std::fabs(real) <= limit;
    const float nearest = static_cast<float>(fits ? real : std::copysign(limit, real));
    write(to, nearest);
    return std::isnan(real) || static_cast<double>(nearest) == real;
}

bool isExactDouble(std::int64_t integer) {
    std::int64_t back = 0;
    return toInteger(static_cast<double>(integer), back) && back == integer;
}

} // namespace

std::unique_ptr<Number> Number::make(CFNumberType type, const void* value) {
    const CFNumberType fixed = canonical(type);
    switch (fixed) {
    case kCFNumberSInt8Type:
        return std::make_unique<Number>(fixed, std::int64_t{read<std::int8_t>(value)});
    case kCFNumberSInt16Type:
        return std::make_unique<Number>(fixed, std::int64_t{read<std::int16_t>(value)});
    case kCFNumberSInt32Type:
        return std::make_unique<Number>(fixed, std::int64_t{read<std::int32_t>(value)});
    case kCFNumberSInt64Type:
        return std::make_unique<Number>(fixed, read<std::int64_t>(value));
    case kCFNumberFloat32Type:
        return std::make_unique<Number>(fixed, double{read<float>(value)});
    case kCFNumberFloat64Type:
        return std::make_unique<Number>(fixed, read<double>(value));
    default:
        return nullptr;
    }
}

bool Number::isReal() const {
    return m_type == kCFNumberFloat32Type || m_type == kCFNumberFloat64Type;
}

bool Number::getInteger(std::int64_t& value) const {
    if (isReal())
        return toInteger(m_real, value);
    value = m_integer;
    return true;
}

bool Number::get(CFNumberType type, void* value) const {
    const CFNumberType fixed = canonical(type);
    if (fixed == kCFNumberFloat64Type) {
        write(value, isReal() ? m_real : static_cast<double>(m_integer));
        return isReal() || isExactDouble(m_integer);
    }
    if (fixed == kCFNumberFloat32Type) {
        const bool exact = isReal() || isExactDouble(m_integer);
        return writeFloat32(isReal() ? m_real : static_cast<double>(m_integer), value) && exact;
    }
    std::int64_t integer = 0;
    const bool exact = getInteger(integer);
    switch (fixed) {
    case kCFNumberSInt8Type:
        return writeInteger<std::int8_t>(integer, value) && exact;
    case kCFNumberSInt16Type:
        return writeInteger<std::int16_t>(integer, value) && exact;
    case kCFNumberSInt32Type:
        return writeInteger<std::int32_t>(integer, value) && exact;
    case kCFNumberSInt64Type:
        write(value, integer);
        return exact;
    default:
        return false;
    }
}

CFComparisonResult Number::compareTo(const Number& other) const {
    if (!isReal() && !other.isReal()) {
        if (m_integer == other.m_integer)
            return kCFCompareEqualTo;
        return m_integer < other.m_integer ? kCFCompareLessThan : kCFCompareGreaterThan;
    }
    const double left = isReal() ? m_real : static_cast<double>(m_integer);
    const double right = other.isReal() ? other.m_real : static_cast<double>(other.m_integer);
    // NaNs sort before all other numbers, so that the order is total.
    if (std::isnan(left) || std::isnan(right)) {
        if (std::isnan(left) && std::isnan(right))
            return kCFCompareEqualTo;
        return std::isnan(left) ? kCFCompareLessThan : kCFCompareGreaterThan;
    }
    if (left == right)
        return kCFCompareEqualTo;
    return left < right ? kCFCompareLessThan : kCFCompareGreaterThan;
}

CFHashCode Number::hash() const {
    // Through double for every number, since an integer and a real of the same value are equal.
    return std::hash<double>()(isReal() ? m_real : static_cast<double>(m_integer));
}

std::u16string Number::description() const {
    char text[64];
    if (!isReal())
        std::snprintf(text, sizeof(text), "%lld", static_cast<long long>(m_integer));
    else
        std::snprintf(text, sizeof(text), "%.*g", m_type == kCFNumberFloat32Type ? 7 : 15, m_real);
    return std::u16string(text, text + std::strlen(text));
}

/// One of the two truth values.
class BooleanValue final : public Object {
public:
    explicit BooleanValue(bool value) : Object(TypeID::Boolean, Life::Constant), m_value(value) {}

    bool value() const { return m_value; }
    std::u16string description() const override { return m_value ? u"true" : u"false"; }

private:
    const bool m_value;
};

} // namespace LinuxPlatform

using namespace LinuxPlatform;

/// Never destroyed: a signal handler may end the process while the thread that it interrupted holds the lock
/// that an object's destructor takes.
const CFBooleanRef kCFBooleanTrue = std::make_unique<const BooleanValue>(true).release();
const CFBooleanRef kCFBooleanFalse = std::make_unique<const BooleanValue>(false).release();

CFTypeID CFBooleanGetTypeID() {
    return static_cast<CFTypeID>(TypeID::Boolean);
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    return boolean->value();
}

CFTypeID CFNumberGetTypeID() {
    return static_cast<CFTypeID>(TypeID::Number);
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType theType, const void* valuePtr) {
    return handOver(Number::make(theType, valuePtr));
}

CFNumberType CFNumberGetType(CFNumberRef number) {
    return number->numberType();
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
    return number->isReal();
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr) {
    return number->get(theType, valuePtr);
}

CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef otherNumber, void*) {
    return number->compareTo(*otherNumber);
}
