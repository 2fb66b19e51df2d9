#include "HWServiceDetection.h"

#include "LiveObjects.h"
#include "MAC/HWServiceDetectionIOKit.h"
#include "TraceCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

namespace {

using HWServiceDetectionTest = LiveObjectsTest;

TEST_F(HWServiceDetectionTest, TheInstanceIsAlwaysTheSame) {
    HWServiceDetection* const instance = HWServiceDetection::getInstance();
    ASSERT_NE(nullptr, instance);
    EXPECT_EQ(instance, HWServiceDetection::getInstance());
    EXPECT_NE(nullptr, dynamic_cast<HWServiceDetectionIOKit*>(instance));
}

TEST_F(HWServiceDetectionTest, DestroyingTheInstanceDeliberatelyForgetsIt) {
    TraceCapture trace;
    std::unique_ptr<HWServiceDetection> instance(HWServiceDetection::getInstance());
    instance.reset();
    const std::string before = trace.text();
    EXPECT_NE(nullptr, HWServiceDetection::getInstance());
    // A new instance was created: the old one is not returned again.
    EXPECT_THAT(trace.text().substr(before.size()), testing::HasSubstr("HWServiceDetection::constructor\n"));
}

TEST_F(HWServiceDetectionTest, ConstructingAnotherObjectDeliberatelyForgetsTheInstance) {
    const std::unique_ptr<HWServiceDetection> first(HWServiceDetection::getInstance());
    const HWServiceDetectionIOKit another;
    EXPECT_NE(first.get(), HWServiceDetection::getInstance());
    std::unique_ptr<HWServiceDetection> second(HWServiceDetection::getInstance());
}

} // namespace
