#include "detail/QuickFormat.h"

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

using namespace kf::detail;

namespace {

const char REFUSED[] = "(refused)";

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

std::string quickly(std::size_t size, const char* format, ...) {
    std::string buffer(size, '#');
    std::va_list arguments;
    va_start(arguments, format);
    const int length = QuickFormat(format).write(&buffer[0], size, format, arguments);
    va_end(arguments);
    if (length < 0)
        return REFUSED;
    EXPECT_EQ(std::strlen(buffer.c_str()), static_cast<std::size_t>(length)) << format;
    return buffer.substr(0, static_cast<std::size_t>(length));
}

std::string asPrintf(const char* format, ...) {
    char buffer[4096];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    return buffer;
}

#pragma GCC diagnostic pop

/// Expects that QuickFormat writes what printf does, and does not refuse.
template <typename... Arguments>
void expectSame(const char* format, Arguments... arguments) {
    EXPECT_EQ(quickly(4096, format, arguments...), asPrintf(format, arguments...)) << format;
}

TEST(QuickFormat, WritesTextsAndPercentSigns) {
    expectSame("%s", "");
    expectSame("plain%s", "");
    expectSame("device %s arrived, attempt %d of %d, %.3f s", "USB#Vid_12d1&Pid_1001", 1, 10, 1.234);
    expectSame("%s%s 100%%", "a", "b");
}

TEST(QuickFormat, WritesIntegers) {
    for (const int value : {0, 1, -1, 9, 10, 99, 100, INT_MAX, INT_MIN}) {
        expectSame("%d", value);
        expectSame("%u", static_cast<unsigned>(value));
    }
}

TEST(QuickFormat, RoundsDecimalsAsPrintfDoes) {
    for (const double value :
         {0.0,      -0.0,   0.5,     1.5,    2.5,           -2.5,          0.05,           0.25,
          0.125,    0.375,  0.0625,  0.0005, 0.00048828125, 0.0009765625,  0.0004999,      9.9995,
          999.9995, 1e-300, DBL_MIN, 5e-324, 1.234,         -1234567.8905, 4294967295.9994})
        expectSame("%.3f", value);
}

TEST(QuickFormat, AgreesWithPrintfOnRandomNumbers) {
    std::mt19937_64 random(20260101);
    for (int i = 0; i < 200000; ++i) {
        const std::uint64_t bits = random();
        // Values around 1, where rounding matters, and up to 2^32.
        expectSame("%.3f", std::ldexp(static_cast<double>(bits >> 11), -21 - static_cast<int>(bits % 96)));
        // Sixteenths, so that ties occur.
        expectSame("%.3f", static_cast<double>(bits % 100000) / 16);
        expectSame("%d %u", static_cast<int>(bits), static_cast<unsigned>(bits));
        if (testing::Test::HasFailure())
            break;
    }
}

TEST(QuickFormat, LeavesToPrintfWhatItDoesNotKnow) {
    EXPECT_EQ(quickly(100, "%c", 'a'), REFUSED);
    EXPECT_EQ(quickly(100, "%5s", "a"), REFUSED);
    EXPECT_EQ(quickly(100, "%.2s", "abc"), REFUSED);
    EXPECT_EQ(quickly(100, "%f", 1.0), REFUSED);
    EXPECT_EQ(quickly(100, "%.2f", 1.0), REFUSED);
    EXPECT_EQ(quickly(100, "%.4f", 1.0), REFUSED);
    EXPECT_EQ(quickly(100, "%8.3f", 1.0), REFUSED);
    EXPECT_EQ(quickly(100, "%g", 1.0), REFUSED);
    EXPECT_EQ(quickly(100, "%+d", 1), REFUSED);
    EXPECT_EQ(quickly(100, "%.3d", 1), REFUSED);
    EXPECT_EQ(quickly(100, "%*d", 5, 1), REFUSED);
    EXPECT_EQ(quickly(100, "%p", static_cast<void*>(nullptr)), REFUSED);
    EXPECT_EQ(quickly(100, "%hd", 1), REFUSED);
    EXPECT_EQ(quickly(100, "%ld", 1L), REFUSED);
    EXPECT_EQ(quickly(100, "%x", 1U), REFUSED);
    EXPECT_EQ(quickly(100, "%5d", 1), REFUSED);
    EXPECT_EQ(quickly(100, "%-5d", 1), REFUSED);
    EXPECT_EQ(quickly(100, "at the end %."), REFUSED);
    EXPECT_EQ(quickly(100, "at the end %.3"), REFUSED);
    EXPECT_EQ(quickly(100, "at the end %"), REFUSED);
    EXPECT_EQ(quickly(100, "%s", static_cast<const char*>(nullptr)), REFUSED);
}

TEST(QuickFormat, TakesPercentSignsForTextsWhereverTheyStand) {
    expectSame("%%");
    expectSame("%%%%");
    expectSame("%%%d%%%s%%", 1, "a");
}

TEST(QuickFormat, LeavesFormatsOfManyConversionsToPrintf) {
    expectSame("%d%d%d%d%d%d%d%d%d%d%d", 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11);
    EXPECT_EQ(quickly(100, "%d%d%d%d%d%d%d%d%d%d%d%d", 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12), REFUSED);
}

TEST(QuickFormat, LeavesTheLongestFormatsToPrintf) {
    const std::string longest(UINT16_MAX, 'x');
    EXPECT_TRUE(quickly(100000, longest.c_str()) == longest);
    EXPECT_TRUE(quickly(100000, (longest + "x").c_str()) == REFUSED);
    EXPECT_TRUE(quickly(100000, (longest + "%d").c_str(), 1) == REFUSED);
}

TEST(QuickFormat, LeavesHugeAndStrangeNumbersToPrintf) {
    for (const double value :
         {4294967296.0, -4294967296.0, 4503599627370496.0, 1e300, std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(quickly(100, "%.3f", value), REFUSED);
}

TEST(QuickFormat, LeavesWhatDoesNotFitToPrintf) {
    EXPECT_EQ(quickly(4, "%s", "abc"), "abc");
    EXPECT_EQ(quickly(3, "%s", "abc"), REFUSED);
    EXPECT_EQ(quickly(3, "abc"), REFUSED);
    EXPECT_EQ(quickly(4, "abc%d", 1), REFUSED);
    EXPECT_EQ(quickly(6, "12345%s", "a"), REFUSED);
}

} // namespace
