#include "LiveObjects.h"

#include <CoreFoundation/CoreFoundation.h>

#include <limits>

using CFObject = LiveObjectsTest;

TEST_F(CFObject, BelongsToWhoeverCreatedIt) {
    CFStringRef text = CFStringCreateWithCString(kCFAllocatorDefault, "modem", kCFStringEncodingUTF8);
    EXPECT_EQ(CFGetRetainCount(text), 1);
    CFRelease(text);
}

TEST_F(CFObject, LivesUntilItsLastOwnerReleasesIt) {
    const auto before = LinuxPlatform::countLiveObjects().coreFoundationObjects;
    CFStringRef text = CFStringCreateWithCString(kCFAllocatorDefault, "modem", kCFStringEncodingUTF8);
    EXPECT_EQ(CFRetain(text), text);
    EXPECT_EQ(CFGetRetainCount(text), 2);
    CFRelease(text);
    EXPECT_EQ(LinuxPlatform::countLiveObjects().coreFoundationObjects, before + 1);
    CFRelease(text);
    EXPECT_EQ(LinuxPlatform::countLiveObjects().coreFoundationObjects, before);
}

TEST_F(CFObject, ReleasedTooOftenIsReportedAndNothingElse) {
    CFStringRef text = CFStringCreateWithCString(kCFAllocatorDefault, "modem", kCFStringEncodingUTF8);
    CFRelease(text);
    const std::string complaint = ComplaintsOf([&] { CFRelease(text); });
    EXPECT_NE(complaint.find("CFRelease"), std::string::npos) << complaint;
    EXPECT_NE(complaint.find("released too often"), std::string::npos) << complaint;
    EXPECT_EQ(complaint.back(), '\n');
}

TEST_F(CFObject, RetainingADeadObjectIsReported) {
    CFStringRef text = CFStringCreateWithCString(kCFAllocatorDefault, "modem", kCFStringEncodingUTF8);
    CFRelease(text);
    const std::string complaint = ComplaintsOf([&] { CFRetain(text); });
    EXPECT_NE(complaint.find("CFRetain"), std::string::npos) << complaint;
}

TEST_F(CFObject, ReleasingNothingIsReported) {
    EXPECT_NE(ComplaintsOf([] { CFRelease(nullptr); }), "");
}

TEST_F(CFObject, AConstantOutlivesEveryRelease) {
    CFStringRef constant = CFSTR("constant");
    CFRelease(constant);
    CFRelease(constant);
    CFRetain(constant);
    EXPECT_EQ(CFGetRetainCount(constant), std::numeric_limits<CFIndex>::max());
    EXPECT_EQ(CFStringGetLength(constant), 8);
}

TEST_F(CFObject, KnowsItsType) {
    EXPECT_EQ(CFGetTypeID(CFSTR("text")), CFStringGetTypeID());
    EXPECT_EQ(CFGetTypeID(kCFBooleanTrue), CFBooleanGetTypeID());
    EXPECT_EQ(CFGetTypeID(CFRunLoopGetCurrent()), CFRunLoopGetTypeID());
    EXPECT_NE(CFStringGetTypeID(), CFNumberGetTypeID());
    EXPECT_NE(CFDictionaryGetTypeID(), CFNumberGetTypeID());
}

TEST_F(CFObject, EqualsWhatHasTheSameTypeAndContent) {
    CFStringRef text = CFStringCreateWithCString(kCFAllocatorDefault, "42", kCFStringEncodingUTF8);
    const int value = 42;
    CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &value);
    EXPECT_TRUE(CFEqual(text, CFSTR("42")));
    EXPECT_EQ(CFHash(text), CFHash(CFSTR("42")));
    EXPECT_FALSE(CFEqual(text, CFSTR("43")));
    EXPECT_FALSE(CFEqual(text, number));
    EXPECT_FALSE(CFEqual(text, nullptr));
    EXPECT_FALSE(CFEqual(kCFBooleanTrue, kCFBooleanFalse));
    CFRelease(number);
    CFRelease(text);
}
