#pragma once

#include <LinuxPlatform.h>

#include <functional>
#include <gtest/gtest.h>
#include <string>

/// Base of tests that must leave the live objects of the platform layer as they found them: nothing leaked,
/// nothing released too often.
class LiveObjectsTest : public ::testing::Test {
protected:
    LiveObjectsTest() : m_before(LinuxPlatform::countLiveObjects()) {}

    void TearDown() override { EXPECT_EQ(LinuxPlatform::countLiveObjects(), m_before); }

    /// Runs an action that breaks a rule on purpose, and returns what was reported about it.
    std::string ComplaintsOf(const std::function<void()>& work) {
        const std::size_t complaints = LinuxPlatform::countLiveObjects().complaints;
        ::testing::internal::CaptureStderr();
        work();
        m_before.complaints += LinuxPlatform::countLiveObjects().complaints - complaints;
        return ::testing::internal::GetCapturedStderr();
    }

private:
    LinuxPlatform::LiveObjects m_before;
};
