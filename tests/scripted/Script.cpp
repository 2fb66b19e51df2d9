#include "Script.h"

#include "LiveObjectCount.h"
#include "ScriptedApplications.h"
#include "ScriptedRegistry.h"

#include <algorithm>

using namespace kf::detail;

Script& Script::current() {
    static Script script;
    return script;
}

std::vector<std::string> Script::callsOf(const std::string& function) const {
    std::vector<std::string> found;
    for (const std::string& call : m_calls)
        if (call.compare(0, function.size() + 1, function + "(") == 0)
            found.push_back(call);
    return found;
}

CFTypeRef Script::handOver(CFTypeRef object, const std::string& name) {
    m_handedOver.push_back(HandedOver{CFOwned<CFTypeRef>(object), name});
    return CFRetain(object);
}

std::vector<std::string> Script::unreleasedObjects() const {
    std::vector<std::string> names;
    for (const HandedOver& handedOver : m_handedOver) {
        // The script itself owns one reference.
        if (CFGetRetainCount(handedOver.object.get()) > 1)
            names.push_back(handedOver.name);
    }
    return names;
}

void Script::reset() {
    m_calls.clear();
    m_handedOver.clear();
}

std::string toText(CFStringRef text) {
    char buffer[1024];
    return CFStringGetCString(text, buffer, sizeof buffer, kCFStringEncodingUTF8) ? buffer : "(not UTF-8)";
}

CFOwned<CFStringRef> makeText(const std::string& text) {
    return CFOwned<CFStringRef>(
        CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8));
}

CFOwned<CFNumberRef> makeNumber(int number) {
    return CFOwned<CFNumberRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &number));
}

static std::string describeValue(CFTypeRef value) {
    const CFOwned<CFStringRef> text(CFStringCreateWithFormat(kCFAllocatorDefault, NULL, CFSTR("%@"), value));
    return toText(text.get());
}

std::string describe(CFDictionaryRef dictionary) {
    const auto count = static_cast<size_t>(CFDictionaryGetCount(dictionary));
    std::vector<const void*> keys(count), values(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    std::vector<std::string> pairs;
    for (size_t i = 0; i < count; ++i)
        pairs.push_back(toText(static_cast<CFStringRef>(keys[i])) + "=" + describeValue(values[i]));
    std::sort(pairs.begin(), pairs.end());
    std::string description;
    for (const std::string& pair : pairs)
        description += (description.empty() ? "" : " ") + pair;
    return description;
}

ScriptedTest::ScriptedTest() {
    resetAll();
    m_objectsAtBegin = liveObjectCount();
}

ScriptedTest::~ScriptedTest() {
    resetAll();
}

void ScriptedTest::resetAll() {
    ScriptedApplications::current().reset();
    ScriptedRegistry::current().reset();
    Script::current().reset();
}

std::vector<std::string> ScriptedTest::unreleased() const {
    std::vector<std::string> names = Script::current().unreleasedObjects();
    const std::vector<std::string> registryObjects = ScriptedRegistry::current().unreleasedObjects();
    names.insert(names.end(), registryObjects.begin(), registryObjects.end());
    return names;
}

void ScriptedTest::TearDown() {
    EXPECT_THAT(unreleased(), testing::IsEmpty());
    resetAll();
    EXPECT_EQ(m_objectsAtBegin, liveObjectCount());
}
