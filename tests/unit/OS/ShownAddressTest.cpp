#include "detail/ShownAddress.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <sstream>

using kf::detail::addressText;
using kf::detail::shownAddress;

TEST(ShownAddress, IsTheLowHalfWhereAnAddressIsWider) {
    const void* const high = reinterpret_cast<const void*>(~std::uintptr_t(0) - 0xf);
    EXPECT_EQ(shownAddress(high), 0xfffffff0u);
    EXPECT_EQ(shownAddress(reinterpret_cast<const void*>(std::uintptr_t(0x1234))), 0x1234u);
}

TEST(ShownAddress, AsTextIsWhole) {
    std::ostringstream expected;
    expected << static_cast<const void*>(&expected);
    EXPECT_EQ(addressText(&expected), expected.str());
}
