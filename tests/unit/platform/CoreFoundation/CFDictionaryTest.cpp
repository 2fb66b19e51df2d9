#include "LiveObjects.h"

#include <CoreFoundation/CoreFoundation.h>

#include <map>

namespace {

class CFDictionary : public LiveObjectsTest {
protected:
    static CFMutableDictionaryRef MakeMutable() {
        return CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                         &kCFTypeDictionaryValueCallBacks);
    }
    static CFStringRef MakeText(const char* text) {
        return CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8);
    }
};

} // namespace

TEST_F(CFDictionary, FindsValuesByEqualKeys) {
    CFMutableDictionaryRef dictionary = MakeMutable();
    CFDictionarySetValue(dictionary, CFSTR("BundlePath"), CFSTR("/Applications/Quillmarsh.app"));
    CFStringRef key = MakeText("BundlePath");
    EXPECT_EQ(CFDictionaryGetValue(dictionary, key), CFSTR("/Applications/Quillmarsh.app"));
    EXPECT_TRUE(CFDictionaryContainsKey(dictionary, key));
    EXPECT_EQ(CFDictionaryGetValue(dictionary, CFSTR("Other")), nullptr);
    EXPECT_EQ(CFDictionaryGetCount(dictionary), 1);
    CFRelease(key);
    CFRelease(dictionary);
}

TEST_F(CFDictionary, OwnsItsKeysAndValues) {
    CFMutableDictionaryRef dictionary = MakeMutable();
    CFStringRef key = MakeText("key");
    CFStringRef value = MakeText("value");
    CFDictionarySetValue(dictionary, key, value);
    EXPECT_EQ(CFGetRetainCount(key), 2);
    EXPECT_EQ(CFGetRetainCount(value), 2);
    CFRelease(key);
    CFRelease(value);
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(dictionary, CFSTR("key")), CFSTR("value")));
    CFRelease(dictionary);
}

TEST_F(CFDictionary, AValueIsBorrowed) {
    CFMutableDictionaryRef dictionary = MakeMutable();
    CFStringRef value = MakeText("value");
    CFDictionarySetValue(dictionary, CFSTR("key"), value);
    CFRelease(value);
    EXPECT_EQ(CFGetRetainCount(CFDictionaryGetValue(dictionary, CFSTR("key"))), 1);
    CFRelease(dictionary);
}

TEST_F(CFDictionary, SetReplacesAndAddDoesNot) {
    CFMutableDictionaryRef dictionary = MakeMutable();
    CFDictionaryAddValue(dictionary, CFSTR("key"), CFSTR("first"));
    CFStringRef second = MakeText("second");
    CFDictionaryAddValue(dictionary, CFSTR("key"), second);
    EXPECT_EQ(CFDictionaryGetValue(dictionary, CFSTR("key")), CFSTR("first"));
    EXPECT_EQ(CFGetRetainCount(second), 1) << "what was not added is not owned";
    CFRelease(second);
    CFStringRef third = MakeText("third");
    CFDictionarySetValue(dictionary, CFSTR("key"), third);
    CFRelease(third);
    CFDictionarySetValue(dictionary, CFSTR("key"), third);
    EXPECT_EQ(CFDictionaryGetValue(dictionary, CFSTR("key")), third)
        << "setting what is there already keeps it";
    EXPECT_EQ(CFGetRetainCount(third), 1);
    CFRelease(dictionary);
}

TEST_F(CFDictionary, RemovesValues) {
    CFMutableDictionaryRef dictionary = MakeMutable();
    CFStringRef value = MakeText("value");
    CFDictionarySetValue(dictionary, CFSTR("a"), value);
    CFDictionarySetValue(dictionary, CFSTR("b"), value);
    CFDictionaryRemoveValue(dictionary, CFSTR("a"));
    CFDictionaryRemoveValue(dictionary, CFSTR("c"));
    EXPECT_EQ(CFDictionaryGetCount(dictionary), 1);
    CFDictionaryRemoveAllValues(dictionary);
    EXPECT_EQ(CFDictionaryGetCount(dictionary), 0);
    EXPECT_EQ(CFGetRetainCount(value), 1);
    CFRelease(value);
    CFRelease(dictionary);
}

TEST_F(CFDictionary, TellsAnAbsentKeyFromANullValue) {
    CFMutableDictionaryRef plain = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, nullptr, nullptr);
    const int key = 0;
    CFDictionarySetValue(plain, &key, nullptr);
    const void* value = &key;
    EXPECT_TRUE(CFDictionaryGetValueIfPresent(plain, &key, &value));
    EXPECT_EQ(value, nullptr);
    EXPECT_TRUE(CFDictionaryGetValueIfPresent(plain, &key, nullptr));
    EXPECT_FALSE(CFDictionaryGetValueIfPresent(plain, "other", &value));
    CFRelease(plain);
}

TEST_F(CFDictionary, WithoutCallbacksPointersAreComparedAsSuch) {
    CFMutableDictionaryRef plain = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, nullptr, nullptr);
    CFStringRef key = MakeText("key");
    CFDictionarySetValue(plain, key, "value");
    EXPECT_EQ(CFGetRetainCount(key), 1) << "not owned";
    EXPECT_EQ(CFDictionaryGetValue(plain, CFSTR("key")), nullptr);
    EXPECT_STREQ(static_cast<const char*>(CFDictionaryGetValue(plain, key)), "value");
    CFRelease(plain);
    CFRelease(key);
}

TEST_F(CFDictionary, AnImmutableOneIsFilledOnce) {
    const void* keys[] = {CFSTR("a"), CFSTR("b"), CFSTR("a")};
    const void* values[] = {CFSTR("1"), CFSTR("2"), CFSTR("3")};
    CFDictionaryRef dictionary =
        CFDictionaryCreate(kCFAllocatorDefault, keys, values, 3, &kCFTypeDictionaryKeyCallBacks,
                           &kCFTypeDictionaryValueCallBacks);
    EXPECT_EQ(CFDictionaryGetCount(dictionary), 2);
    EXPECT_EQ(CFDictionaryGetValue(dictionary, CFSTR("a")), CFSTR("1"));
    const std::string complaint = ComplaintsOf([&] {
        CFDictionarySetValue(const_cast<CFMutableDictionaryRef>(dictionary), CFSTR("c"), CFSTR("4"));
    });
    EXPECT_NE(complaint.find("CFDictionarySetValue"), std::string::npos) << complaint;
    EXPECT_EQ(CFDictionaryGetCount(dictionary), 2);
    CFRelease(dictionary);
}

TEST_F(CFDictionary, AMutableCopyIsIndependent) {
    CFMutableDictionaryRef original = MakeMutable();
    CFDictionarySetValue(original, CFSTR("key"), CFSTR("value"));
    CFMutableDictionaryRef copy = CFDictionaryCreateMutableCopy(kCFAllocatorDefault, 0, original);
    EXPECT_TRUE(CFEqual(original, copy));
    EXPECT_EQ(CFHash(original), CFHash(copy));
    CFDictionarySetValue(copy, CFSTR("key"), CFSTR("other"));
    EXPECT_EQ(CFDictionaryGetValue(original, CFSTR("key")), CFSTR("value"));
    EXPECT_FALSE(CFEqual(original, copy));
    CFRelease(copy);
    CFRelease(original);
}

TEST_F(CFDictionary, CopiedStringKeysAreFoundByText) {
    CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFCopyStringDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    CFStringRef key = MakeText("key");
    CFDictionarySetValue(dictionary, key, CFSTR("value"));
    CFRelease(key);
    EXPECT_EQ(CFDictionaryGetValue(dictionary, CFSTR("key")), CFSTR("value"));
    CFRelease(dictionary);
}

TEST_F(CFDictionary, ListsItsContent) {
    CFMutableDictionaryRef dictionary = MakeMutable();
    CFDictionarySetValue(dictionary, CFSTR("a"), CFSTR("1"));
    CFDictionarySetValue(dictionary, CFSTR("b"), CFSTR("2"));
    const void* keys[2];
    const void* values[2];
    CFDictionaryGetKeysAndValues(dictionary, keys, values);
    const std::map<const void*, const void*> listed{{keys[0], values[0]}, {keys[1], values[1]}};
    const std::map<const void*, const void*> expected{{CFSTR("a"), CFSTR("1")}, {CFSTR("b"), CFSTR("2")}};
    EXPECT_EQ(listed, expected);
    std::map<const void*, const void*> applied;
    CFDictionaryApplyFunction(
        dictionary,
        [](const void* key, const void* value, void* context) {
            static_cast<std::map<const void*, const void*>*>(context)->emplace(key, value);
        },
        &applied);
    EXPECT_EQ(applied, expected);
    CFRelease(dictionary);
}
