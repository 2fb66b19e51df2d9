#include "HWServicePnP.h"

#include "LiveObjects.h"
#include "MAC/HWServicePnPIOKit.h"

#include <gtest/gtest.h>

namespace {

using HWServicePnPTest = LiveObjectsTest;

TEST_F(HWServicePnPTest, TheInstanceIsAlwaysTheSame) {
    HWServicePnP* const instance = HWServicePnP::getInstance();
    ASSERT_NE(nullptr, instance);
    EXPECT_EQ(instance, HWServicePnP::getInstance());
    EXPECT_NE(nullptr, dynamic_cast<HWServicePnPIOKit*>(instance));
}

TEST_F(HWServicePnPTest, AnotherObjectDoesNotDisturbTheInstance) {
    HWServicePnP* const instance = HWServicePnP::getInstance();
    { HWServicePnPIOKit another; }
    EXPECT_EQ(instance, HWServicePnP::getInstance());
}

} // namespace
