#include "LiveObjects.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cmath>
#include <limits>

namespace {

class CFNumber : public LiveObjectsTest {
protected:
    template <class T>
    struct Reading {
        bool exact;
        T value;
    };

    /// Creates a number from `from` and reads it as a T.
    template <class T, class From>
    static Reading<T> Convert(CFNumberType fromType, From from, CFNumberType type) {
        CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, fromType, &from);
        Reading<T> reading{};
        reading.exact = CFNumberGetValue(number, type, &reading.value);
        CFRelease(number);
        return reading;
    }
};

} // namespace

TEST_F(CFNumber, KeepsItsValue) {
    const auto reading = Convert<SInt32>(kCFNumberSInt32Type, SInt32{-5}, kCFNumberSInt32Type);
    EXPECT_TRUE(reading.exact);
    EXPECT_EQ(reading.value, -5);
}

TEST_F(CFNumber, IsReadInAnyWidthThatHoldsIt) {
    EXPECT_EQ(Convert<std::int8_t>(kCFNumberSInt64Type, SInt64{-128}, kCFNumberSInt8Type).value, -128);
    EXPECT_EQ(
        Convert<std::int16_t>(kCFNumberCharType, static_cast<signed char>(-1), kCFNumberShortType).value, -1);
    const auto wide = Convert<SInt64>(kCFNumberSInt32Type, SInt32{-5}, kCFNumberSInt64Type);
    EXPECT_TRUE(wide.exact);
    EXPECT_EQ(wide.value, -5);
    EXPECT_EQ(Convert<long>(kCFNumberCFIndexType, 7L, kCFNumberLongType).value, 7);
}

TEST_F(CFNumber, IsReadAsARealNumber) {
    const auto real = Convert<double>(kCFNumberDoubleType, 2.75, kCFNumberFloat64Type);
    EXPECT_TRUE(real.exact);
    EXPECT_EQ(real.value, 2.75);
    const auto whole = Convert<double>(kCFNumberIntType, -3, kCFNumberDoubleType);
    EXPECT_TRUE(whole.exact);
    EXPECT_EQ(whole.value, -3.0);
}

TEST_F(CFNumber, SaysWhenAWidthIsTooSmallAndGivesTheNearestValue) {
    const auto high = Convert<std::int32_t>(kCFNumberSInt64Type, SInt64{1} << 40, kCFNumberIntType);
    EXPECT_FALSE(high.exact);
    EXPECT_EQ(high.value, std::numeric_limits<std::int32_t>::max());
    const auto low = Convert<std::int8_t>(kCFNumberIntType, -1000, kCFNumberSInt8Type);
    EXPECT_FALSE(low.exact);
    EXPECT_EQ(low.value, -128);
}

TEST_F(CFNumber, ARealIsCutToAnIntegerWithAWarning) {
    const auto cut = Convert<int>(kCFNumberDoubleType, 2.75, kCFNumberIntType);
    EXPECT_FALSE(cut.exact);
    EXPECT_EQ(cut.value, 2);
    const auto whole = Convert<int>(kCFNumberDoubleType, -3.0, kCFNumberIntType);
    EXPECT_TRUE(whole.exact);
    EXPECT_EQ(whole.value, -3);
}

TEST_F(CFNumber, AHugeRealGivesTheNearestInteger) {
    const auto huge = Convert<SInt64>(kCFNumberDoubleType, 1e300, kCFNumberSInt64Type);
    EXPECT_FALSE(huge.exact);
    EXPECT_EQ(huge.value, std::numeric_limits<SInt64>::max());
    EXPECT_EQ(Convert<SInt64>(kCFNumberDoubleType, -1e300, kCFNumberSInt64Type).value,
              std::numeric_limits<SInt64>::min());
    EXPECT_FALSE(Convert<int>(kCFNumberDoubleType, std::nan(""), kCFNumberIntType).exact);
}

TEST_F(CFNumber, AnIntegerThatARealCannotHoldIsNotExact) {
    EXPECT_FALSE(Convert<double>(kCFNumberSInt64Type, (SInt64{1} << 53) + 1, kCFNumberDoubleType).exact);
    EXPECT_FALSE(
        Convert<double>(kCFNumberSInt64Type, std::numeric_limits<SInt64>::max(), kCFNumberDoubleType).exact);
    EXPECT_TRUE(Convert<double>(kCFNumberSInt64Type, SInt64{1} << 53, kCFNumberDoubleType).exact);
    EXPECT_FALSE(Convert<float>(kCFNumberIntType, (1 << 24) + 1, kCFNumberFloatType).exact);
    const auto huge = Convert<float>(kCFNumberDoubleType, 1e300, kCFNumberFloatType);
    EXPECT_FALSE(huge.exact);
    EXPECT_EQ(huge.value, std::numeric_limits<float>::max());
}

TEST_F(CFNumber, TellsItsFixedWidthType) {
    const int integer = 1;
    const float real = 1;
    CFNumberRef first = CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &integer);
    CFNumberRef second = CFNumberCreate(kCFAllocatorDefault, kCFNumberFloatType, &real);
    EXPECT_EQ(CFNumberGetType(first), kCFNumberSInt32Type);
    EXPECT_FALSE(CFNumberIsFloatType(first));
    EXPECT_EQ(CFNumberGetType(second), kCFNumberFloat32Type);
    EXPECT_TRUE(CFNumberIsFloatType(second));
    CFRelease(second);
    CFRelease(first);
}

TEST_F(CFNumber, EqualsEveryNumberOfTheSameValue) {
    const SInt64 wide = 4817;
    const short narrow = 4817;
    const double real = 4817;
    CFNumberRef first = CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &wide);
    CFNumberRef second = CFNumberCreate(kCFAllocatorDefault, kCFNumberShortType, &narrow);
    CFNumberRef third = CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &real);
    EXPECT_TRUE(CFEqual(first, second));
    EXPECT_TRUE(CFEqual(first, third));
    EXPECT_EQ(CFHash(first), CFHash(third));
    CFRelease(third);
    CFRelease(second);
    CFRelease(first);
}

TEST_F(CFNumber, ComparesByValue) {
    const int small = 1;
    const double large = 1.5;
    CFNumberRef first = CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &small);
    CFNumberRef second = CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &large);
    EXPECT_EQ(CFNumberCompare(first, second, nullptr), kCFCompareLessThan);
    EXPECT_EQ(CFNumberCompare(second, first, nullptr), kCFCompareGreaterThan);
    EXPECT_EQ(CFNumberCompare(first, first, nullptr), kCFCompareEqualTo);
    CFRelease(second);
    CFRelease(first);
}

TEST_F(CFNumber, AnUnknownTypeGivesNoNumber) {
    const int value = 1;
    EXPECT_EQ(CFNumberCreate(kCFAllocatorDefault, static_cast<CFNumberType>(99), &value), nullptr);
}

TEST_F(CFNumber, BooleansHaveTheirValues) {
    EXPECT_TRUE(CFBooleanGetValue(kCFBooleanTrue));
    EXPECT_FALSE(CFBooleanGetValue(kCFBooleanFalse));
}
