#pragma once

#include "detail/CFOwned.h"

#include <CoreFoundation/CoreFoundation.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

// The product under test calls IOKit, the run loop, the Process Manager, the File Manager and Launch
// Services; this folder defines these calls itself, so that the linker never takes the real ones. What each
// answers is written by the test (ScriptedRegistry.h, ScriptedApplications.h); what was called is kept here,
// in order. CoreFoundation's objects are the real ones.

/// What the product has called, and what it still owns.
class Script {
public:
    /// The one of the running test.
    static Script& current();

    /// One call as a readable text, "IOObjectRelease(modem)".
    void note(const std::string& call) { m_calls.push_back(call); }
    const std::vector<std::string>& calls() const { return m_calls; }
    /// The calls of one function only.
    std::vector<std::string> callsOf(const std::string& function) const;
    void forgetCalls() { m_calls.clear(); }

    /// Hands an object over to the product: returns it with a reference that the product has to release.
    /// Takes over the reference that it is given.
    CFTypeRef handOver(CFTypeRef object, const std::string& name);
    /// What the product obtained and has not released, by name.
    std::vector<std::string> unreleasedObjects() const;
    /// Ends the test's bookkeeping: every call and object is forgotten.
    void reset();

private:
    struct HandedOver {
        kf::detail::CFOwned<CFTypeRef> object;
        std::string name;
    };

    std::vector<std::string> m_calls;
    std::vector<HandedOver> m_handedOver;
};

std::string toText(CFStringRef text);
kf::detail::CFOwned<CFStringRef> makeText(const std::string& text);
kf::detail::CFOwned<CFNumberRef> makeNumber(int number);
/// "IOProviderClass=IOUSBDevice idProduct=4097 idVendor=4817": the pairs in the order of their keys.
std::string describe(CFDictionaryRef dictionary);

/// Begins each test with an empty script and fails the test that ends with something unreleased, objects that
/// the product made itself included.
class ScriptedTest : public testing::Test {
protected:
    ScriptedTest();
    ~ScriptedTest() override;

    Script& script() { return Script::current(); }
    /// Registry objects and CoreFoundation objects that the script has handed over.
    std::vector<std::string> unreleased() const;
    void TearDown() override;

private:
    void resetAll();

    std::size_t m_objectsAtBegin;
};
