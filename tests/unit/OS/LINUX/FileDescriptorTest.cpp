#include "detail/FileDescriptor.h"

#include <gtest/gtest.h>

using namespace kf::detail;

TEST(WholeFilesOfProc, ThatTellNoSizeAreReadUpToTheLimit) {
    std::string content = "before";
    EXPECT_TRUE(readWhole(openRegularFile("/proc/self/status").get(), 100000, content));
    EXPECT_LT(100u, content.size());
    EXPECT_FALSE(readWhole(openRegularFile("/proc/self/status").get(), 100, content));
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(content, "");
}
