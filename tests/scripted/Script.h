#pragma once

#include "detail/CFOwned.h"

#include <CoreFoundation/CoreFoundation.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

// The product under test calls IOKit, the run loop, the Process Manager, the File Manager and Launch
// Services; this folder defines these calls itself, so that the linker never takes the real ones. The tests
// script the answers (ScriptedRegistry.h, ScriptedApplications.h); the calls are recorded here, in order.
// CoreFoundation's objects are the real ones.

/// Records the product's calls and the objects that it still owns.
class Script {
public:
    /// The script of the running test.
    static Script& current();

    /// Records a call as readable text, for example "IOObjectRelease(modem)".
    void note(const std::string& call) { m_calls.push_back(call); }
    const std::vector<std::string>& calls() const { return m_calls; }
    /// The calls of one function only.
    std::vector<std::string> callsOf(const std::string& function) const;
    void forgetCalls() { m_calls.clear(); }

    /// Hands an object over to the product: takes ownership of the caller's reference, and returns the object
    /// with a further reference, which the product must release.
    CFTypeRef handOver(CFTypeRef object, const std::string& name);
    /// What the product obtained and has not released, by name.
    std::vector<std::string> unreleasedObjects() const;
    /// Forgets all calls and objects.
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

/// Begins each test with an empty script; fails a test at whose end something is unreleased, including
/// objects that the product has created itself.
class ScriptedTest : public testing::Test {
protected:
    ScriptedTest();
    ~ScriptedTest() override;

    Script& script() { return Script::current(); }
    /// The unreleased registry objects, and the CoreFoundation objects that the script has handed over.
    std::vector<std::string> unreleased() const;
    void TearDown() override;

private:
    void resetAll();

    std::size_t m_objectsAtBegin;
};
