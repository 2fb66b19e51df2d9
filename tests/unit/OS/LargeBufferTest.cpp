#include "detail/LargeBuffer.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

using namespace kf::detail;

TEST(LargeBuffer, HoldsAsManyBytesAsWereAskedFor) {
    for (const std::size_t bytes :
         {std::size_t{1}, std::size_t{65536}, LARGE_BUFFER_UNIT - 1, LARGE_BUFFER_UNIT, LARGE_BUFFER_UNIT + 1,
          2 * LARGE_BUFFER_UNIT + 12345}) {
        const LargeBuffer buffer = makeLargeBuffer(bytes);
        ASSERT_NE(buffer, nullptr);
        ASSERT_GE(buffer.get_deleter().bytes, bytes);
        std::memset(buffer.get(), 'x', bytes);
        EXPECT_EQ(buffer[0], 'x');
        EXPECT_EQ(buffer[bytes - 1], 'x');
    }
}

TEST(LargeBuffer, IsAllZerosAlsoWhereOtherThingsHadBeen) {
    for (const std::size_t bytes : {std::size_t{65536}, LARGE_BUFFER_UNIT, 2 * LARGE_BUFFER_UNIT + 12345}) {
        std::memset(makeLargeBuffer(bytes).get(), 'x', bytes);
        const LargeBuffer buffer = makeLargeBuffer(bytes);
        EXPECT_TRUE(std::all_of(buffer.get(), buffer.get() + bytes, [](char byte) { return byte == 0; }));
    }
}
