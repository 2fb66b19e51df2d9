#include "LiveObjects.h"

#include <CoreFoundation/CoreFoundation.h>

#include <limits>
#include <string>

namespace {

class CFStringFormat : public LiveObjectsTest {
protected:
    /// Returns a text as UTF-8, and releases it.
    static std::string Take(CFStringRef text) {
        char buffer[256];
        EXPECT_TRUE(CFStringGetCString(text, buffer, sizeof(buffer), kCFStringEncodingUTF8));
        CFRelease(text);
        return buffer;
    }
};

#define FORMAT(...) Take(CFStringCreateWithFormat(kCFAllocatorDefault, nullptr, __VA_ARGS__))

} // namespace

TEST_F(CFStringFormat, ObjectsPrintTheirValues) {
    const SInt32 vendor = 0x12D1;
    const SInt32 product = 0x1401;
    CFNumberRef first = CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &vendor);
    CFNumberRef second = CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &product);
    EXPECT_EQ(FORMAT(CFSTR("%@|%@"), first, second), "4817|5121");
    CFRelease(second);
    CFRelease(first);
    EXPECT_EQ(FORMAT(CFSTR("<%@>"), CFSTR("gr\xC3\xBC\xC3\x9F")), "<gr\xC3\xBC\xC3\x9F>");
    EXPECT_EQ(FORMAT(CFSTR("%@ %@"), kCFBooleanTrue, kCFBooleanFalse), "true false");
    EXPECT_EQ(FORMAT(CFSTR("%@"), static_cast<CFTypeRef>(nullptr)), "(null)");
}

TEST_F(CFStringFormat, NumbersPrintAsTheyAre) {
    const SInt64 lowest = std::numeric_limits<SInt64>::min();
    CFNumberRef integer = CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &lowest);
    EXPECT_EQ(FORMAT(CFSTR("%@"), integer), "-9223372036854775808");
    CFRelease(integer);
    const double half = 0.5;
    CFNumberRef real = CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &half);
    EXPECT_EQ(FORMAT(CFSTR("%@"), real), "0.5");
    CFRelease(real);
    const double third = 1.0 / 3;
    CFNumberRef precise = CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &third);
    EXPECT_EQ(FORMAT(CFSTR("%@"), precise), "0.333333333333333");
    CFRelease(precise);
    const float single = 1.0F / 3;
    CFNumberRef shorter = CFNumberCreate(kCFAllocatorDefault, kCFNumberFloatType, &single);
    EXPECT_EQ(FORMAT(CFSTR("%@"), shorter), "0.3333333");
    CFRelease(shorter);
}

TEST_F(CFStringFormat, IntegersOfEveryWidth) {
    EXPECT_EQ(FORMAT(CFSTR("%d %i %u %o"), -1, 2, 3U, 8U), "-1 2 3 10");
    EXPECT_EQ(FORMAT(CFSTR("%04x %X %#x"), 0xabcU, 0xABCU, 1U), "0abc ABC 0x1");
    EXPECT_EQ(FORMAT(CFSTR("%hhd %hd"), 300, 70000), "44 4464");
    EXPECT_EQ(FORMAT(CFSTR("%ld|%lld|%qd"), -5L, 1LL << 40, -1LL), "-5|1099511627776|-1");
    EXPECT_EQ(FORMAT(CFSTR("%zu %td %jd"), sizeof(int), std::ptrdiff_t{-7}, intmax_t{9}), "4 -7 9");
}

TEST_F(CFStringFormat, RealsTextsAndCharacters) {
    EXPECT_EQ(FORMAT(CFSTR("%.2f %g %Lg %e"), 1.005, 0.5, 2.5L, 10.0), "1.00 0.5 2.5 1.000000e+01");
    EXPECT_EQ(FORMAT(CFSTR("%s|%5s|%-5s|%.2s"), "ab", "cd", "ef", "ghi"), "ab|   cd|ef   |gh");
    EXPECT_EQ(FORMAT(CFSTR("%s"), static_cast<const char*>(nullptr)), "(null)");
    EXPECT_EQ(FORMAT(CFSTR("%c%C"), 'a', 0x20AC), "a\xE2\x82\xAC");
    EXPECT_EQ(FORMAT(CFSTR("%s"), "\xFC"), "\xC3\xBC") << "bytes that are no UTF-8 are read as Latin-1";
}

TEST_F(CFStringFormat, StarsTakeArguments) {
    EXPECT_EQ(FORMAT(CFSTR("[%*d][%-*d][%*d]"), 4, 7, 4, 7, -4, 7), "[   7][7   ][7   ]");
    EXPECT_EQ(FORMAT(CFSTR("[%.*s][%.*s]"), 2, "abc", -1, "abc"), "[ab][abc]");
}

TEST_F(CFStringFormat, PercentAndTheEndOfTheFormat) {
    EXPECT_EQ(FORMAT(CFSTR("100%%")), "100%");
    EXPECT_EQ(FORMAT(CFSTR("end%")), "end");
}

TEST_F(CFStringFormat, StoresNothingThroughN) {
    int untouched = 42;
    EXPECT_EQ(FORMAT(CFSTR("ab%nc"), &untouched), "abc");
    EXPECT_EQ(untouched, 42);
}
