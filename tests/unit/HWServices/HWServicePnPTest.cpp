#include "HWServicePnP.h"

#include "MAC/HWServicePnPIOKit.h"

#include <gtest/gtest.h>

namespace {

TEST(HWServicePnPTest, TheInstanceIsAlwaysTheSame) {
    HWServicePnP* const instance = HWServicePnP::getInstance();
    ASSERT_NE(nullptr, instance);
    EXPECT_EQ(instance, HWServicePnP::getInstance());
    EXPECT_NE(nullptr, dynamic_cast<HWServicePnPIOKit*>(instance));
}

TEST(HWServicePnPTest, AnotherObjectDoesNotDisturbTheInstance) {
    HWServicePnP* const instance = HWServicePnP::getInstance();
    { HWServicePnPIOKit another; }
    EXPECT_EQ(instance, HWServicePnP::getInstance());
}

} // namespace
