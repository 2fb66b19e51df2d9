#include "MAC/HWServiceDetectionIOKit.h"

#include "Dictionary.h"
#include "Script.h"
#include "ScriptedRegistry.h"
#include "TraceCapture.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class HWServiceDetectionIOKitTest : public ScriptedTest {
protected:
    ScriptedRegistry& registry() { return ScriptedRegistry::current(); }

    ScriptedEntry& addModem(const std::string& name = "modem",
                            const std::string& path = "IOService:/usb@14000000") {
        return registry().add(name, path).with("idVendor", 0x12D1).with("idProduct", 0x1401);
    }
    ScriptedEntry& addPort(ScriptedEntry& device, const std::string& tty, const std::string& callout) {
        ScriptedEntry& port = registry().add(tty, device.path + "/" + tty);
        port.with("IOClass", "IOSerialBSDClient");
        if (!tty.empty())
            port.with("IOTTYDevice", tty);
        if (!callout.empty())
            port.with("IOCalloutDevice", callout);
        device.descendants.push_back(&port);
        return port;
    }
    /// Adds a network stack below the device, with these interfaces as its parents.
    ScriptedEntry& addNetworkStack(ScriptedEntry& device, const std::vector<ScriptedEntry*>& interfaces) {
        ScriptedEntry& stack =
            registry().add("stack", device.path + "/net/stack").with("IOClass", "IONetworkStack");
        stack.parents = interfaces;
        device.descendants.push_back(&stack);
        return stack;
    }
    ScriptedEntry& addInterface(const std::string& path, const std::string& bsdName) {
        return registry().add("interface", path).with("BSD Name", bsdName);
    }

    std::set<std::string> connected() {
        std::set<std::string> devices;
        m_service.getConnectedDevices("USB", devices);
        return devices;
    }
    /// "key=value" of everything in the result.
    std::string detect() {
        Dictionary result;
        m_service.detectDeviceHID(m_description, result);
        return flat(result);
    }
    static std::string flat(Dictionary& result) {
        std::string text;
        for (const char* key : {"DetectedModemName", "DetectedNetworkAdapterName", "DetectedModemPortName",
                                "DetectedPortName", "Kept"})
            if (result.hasKey(key))
                text += std::string(text.empty() ? "" : " ") + key + "=" + result.getValue(std::string(key));
        return text;
    }
    void describe(const std::string& key, const std::string& value) { m_description.addValue(key, value); }

    Dictionary m_description;
    HWServiceDetectionIOKit m_service;
};

// ---- listing

TEST_F(HWServiceDetectionIOKitTest, ListingMakesTheseCallsInTheirOrder) {
    registry().matches = {{&addModem()}};
    EXPECT_THAT(connected(), ElementsAre("4817|5121"));
    EXPECT_THAT(script().calls(),
                ElementsAre("IOServiceMatching(IOUSBDevice)",
                            "IOServiceGetMatchingServices(IOProviderClass=IOUSBDevice)",
                            "IOIteratorNext(iterator 1) = modem", "IORegistryEntryCreateCFProperties(modem)",
                            "IOObjectRelease(modem)", "IOIteratorNext(iterator 1) = none",
                            "IOObjectRelease(iterator 1)"));
}

TEST_F(HWServiceDetectionIOKitTest, TheSetIsNotClearedAndTheCategoryIsIgnored) {
    registry().matches = {{&addModem()}};
    std::set<std::string> devices = {"here before"};
    m_service.getConnectedDevices("no category at all", devices);
    EXPECT_THAT(devices, ElementsAre("4817|5121", "here before"));
}

TEST_F(HWServiceDetectionIOKitTest, EqualDevicesAreListedOnce) {
    registry().matches = {{&addModem(), &addModem("twin", "IOService:/usb@15000000")}};
    EXPECT_THAT(connected(), ElementsAre("4817|5121"));
}

TEST_F(HWServiceDetectionIOKitTest, ADeviceThatLacksAnIdIsNotListed) {
    registry().matches = {{&registry().add("no product", "a").with("idVendor", 1),
                           &registry().add("no vendor", "b").with("idProduct", 2),
                           &registry().add("zeros", "c").with("idVendor", 0).with("idProduct", 0)}};
    EXPECT_THAT(connected(), ElementsAre("0|0"));
}

TEST_F(HWServiceDetectionIOKitTest, ADeviceWithoutReadablePropertiesIsSkippedAndReleased) {
    ScriptedEntry& modem = addModem("unreadable", "a");
    modem.hasReadableProperties = false;
    registry().matches = {{&modem, &registry().add("other", "b").with("idVendor", 1).with("idProduct", 2)}};
    EXPECT_THAT(connected(), ElementsAre("1|2"));
}

TEST_F(HWServiceDetectionIOKitTest, APairOfMoreThan255BytesIsNotListed) {
    registry().matches = {
        {&registry().add("long", "a").with("idVendor", std::string(254, '1')).with("idProduct", "2"),
         &registry().add("fits", "b").with("idVendor", std::string(253, '1')).with("idProduct", "2")}};
    EXPECT_THAT(connected(), ElementsAre(std::string(253, '1') + "|2"));
}

TEST_F(HWServiceDetectionIOKitTest, ListingTracesANullMatchingDictionaryAtLevelTwo) {
    TraceCapture trace;
    registry().isMatchingNull = true;
    EXPECT_THAT(connected(), IsEmpty());
    EXPECT_THAT(script().calls(), ElementsAre("IOServiceMatching(IOUSBDevice)"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] IOServiceMatching returned NULL.\n"));
}

TEST_F(HWServiceDetectionIOKitTest, ListingTracesARefusedSearch) {
    TraceCapture trace;
    registry().findingResult = static_cast<kern_return_t>(0xE00002BC);
    EXPECT_THAT(connected(), IsEmpty());
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] IOServiceGetMatchingServices returned 0xe00002bc."));
}

TEST_F(HWServiceDetectionIOKitTest, ListingTracesEachDeviceForSupport) {
    TraceCapture trace;
    registry().matches = {{&addModem()}};
    connected();
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] Connected device : 4817|5121\n"));
}

TEST_F(HWServiceDetectionIOKitTest, AChangeOfTheRegistryBeginsTheListAgainWithoutWhatHasLeft) {
    ScriptedEntry& left = addModem();
    ScriptedEntry& stays = registry().add("other", "b").with("idVendor", 1).with("idProduct", 2);
    registry().matches = {{&left, &stays}};
    registry().changes[1] = ScriptedChange{1, 1, {&stays}};
    std::set<std::string> devices = {"here before"};
    m_service.getConnectedDevices("USB", devices);
    EXPECT_THAT(devices, ElementsAre("1|2", "here before"));
    EXPECT_THAT(script().callsOf("IOIteratorReset"), ElementsAre("IOIteratorReset(iterator 1)"));
}

TEST_F(HWServiceDetectionIOKitTest, ARegistryThatNeverRestsEndsTheListAfterTenWalksWithWhatTheLastOneFound) {
    TraceCapture trace;
    ScriptedEntry& modem = addModem();
    registry().matches = {{&modem}};
    registry().changes[1] = ScriptedChange{1000, 1, {&modem}};
    EXPECT_THAT(connected(), ElementsAre("4817|5121"));
    EXPECT_EQ(script().callsOf("IOIteratorReset").size(), 9u);
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] The registry changed during each of 10 walks.\n"));
}

TEST_F(HWServiceDetectionIOKitTest, ARegistryThatRestsInTimeIsNoError) {
    TraceCapture trace;
    ScriptedEntry& modem = addModem();
    registry().matches = {{&modem}};
    registry().changes[1] = ScriptedChange{9, 0, {&modem}};
    EXPECT_THAT(connected(), ElementsAre("4817|5121"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] The registry has changed : walk 10 begins.\n"));
    EXPECT_THAT(trace.text(), Not(HasSubstr("[E]")));
}

// ---- detecting

TEST_F(HWServiceDetectionIOKitTest, DetectingMatchesClassAndBothIds) {
    describe("VendorID", "4817");
    describe("ProductID", "5121");
    TraceCapture trace;
    detect();
    EXPECT_THAT(
        script().callsOf("IOServiceGetMatchingServices"),
        ElementsAre(
            "IOServiceGetMatchingServices(IOProviderClass=IOUSBDevice idProduct=5121 idVendor=4817)"));
    EXPECT_THAT(trace.text(),
                HasSubstr(">> [D] Looking for devices matching vendor ID=4817 and product ID=5121.\n"));
}

TEST_F(HWServiceDetectionIOKitTest, MissingIdsCountAsZeroAndTextAfterTheDigitsIsIgnored) {
    describe("ProductID", " 12x");
    detect();
    EXPECT_THAT(
        script().callsOf("IOServiceGetMatchingServices"),
        ElementsAre("IOServiceGetMatchingServices(IOProviderClass=IOUSBDevice idProduct=12 idVendor=0)"));
}

TEST_F(HWServiceDetectionIOKitTest, IdsBeyondTheRangeBecomeItsNearestEnd) {
    describe("VendorID", "99999999999999999999");
    describe("ProductID", "-3000000000");
    detect();
    EXPECT_THAT(script().callsOf("IOServiceGetMatchingServices"),
                ElementsAre("IOServiceGetMatchingServices(IOProviderClass=IOUSBDevice idProduct=-2147483648 "
                            "idVendor=2147483647)"));
}

TEST_F(HWServiceDetectionIOKitTest, DetectingTracesANullMatchingDictionaryAtLevelTwo) {
    TraceCapture trace;
    registry().isMatchingNull = true;
    EXPECT_EQ(detect(), "");
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] IOServiceMatching returned NULL.\n"));
}

TEST_F(HWServiceDetectionIOKitTest, DetectingTracesARefusedSearch) {
    TraceCapture trace;
    registry().findingResult = static_cast<kern_return_t>(0xE00002BC);
    EXPECT_EQ(detect(), "");
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] IOServiceGetMatchingServices returned 0xe00002bc."));
}

TEST_F(HWServiceDetectionIOKitTest, ADeviceThatIsNotConnectedLeavesTheResultUntouched) {
    describe("ModemHID", "Modem");
    describe("PortHID", "modem-data");
    EXPECT_EQ(detect(), "");
}

TEST_F(HWServiceDetectionIOKitTest, ADeviceWithoutAMatchingPortLeavesTheResultUntouched) {
    describe("ModemHID", "Modem");
    describe("PortHID", "modem-data");
    ScriptedEntry& modem = addModem();
    addPort(modem, "another", "/dev/cu.another");
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), "");
}

TEST_F(HWServiceDetectionIOKitTest, ScanningMakesTheseCallsInTheirOrder) {
    describe("PortHID", "data");
    ScriptedEntry& modem = addModem();
    addPort(modem, "data", "/dev/cu.data");
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), "DetectedPortName=/dev/cu.data");
    EXPECT_THAT(
        script().calls(),
        ElementsAre("IOServiceMatching(IOUSBDevice)",
                    "IOServiceGetMatchingServices(IOProviderClass=IOUSBDevice idProduct=0 idVendor=0)",
                    "IOIteratorNext(iterator 1) = modem", "IORegistryEntryGetName(modem)",
                    "IORegistryEntryGetPath(modem, IOService)",
                    "IORegistryEntryCreateIterator(modem, IOService, options 1)",
                    "IOIteratorNext(iterator 2) = data", "IORegistryEntryCreateCFProperties(data)",
                    "IORegistryEntrySearchCFProperty(data, IOService, IOTTYDevice, options 1)",
                    "IORegistryEntrySearchCFProperty(data, IOService, IOCalloutDevice, options 1)",
                    "IOObjectRelease(data)", "IOIteratorNext(iterator 2) = none",
                    "IOObjectRelease(iterator 2)", "IOObjectRelease(modem)",
                    "IOIteratorNext(iterator 1) = none", "IOObjectRelease(iterator 1)"));
}

TEST_F(HWServiceDetectionIOKitTest, ScanningTracesNamePathAndPorts) {
    TraceCapture trace;
    describe("PortHID", "data");
    ScriptedEntry& modem = addModem();
    addPort(modem, "data", "/dev/cu.data");
    registry().matches = {{&modem}};
    detect();
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] deviceName: modem\n"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] Device Path : IOService:/usb@14000000\n"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] Port Name : data \n"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] CallOutDevice path : /dev/cu.data\n"));
}

TEST_F(HWServiceDetectionIOKitTest, APathThatCannotBeReadIsTracedWithItsResultAndThePortsAreStillFound) {
    TraceCapture trace;
    describe("PortHID", "data");
    ScriptedEntry& modem = addModem("modem", "");
    addPort(modem, "data", "/dev/cu.data");
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), "DetectedPortName=/dev/cu.data");
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] device IORegistryEntryGetPath returned 0xe00002d9.\n"));
    EXPECT_THAT(trace.text(), Not(HasSubstr("Device Path")));
}

TEST_F(HWServiceDetectionIOKitTest, TheModemsNameIsAddedWhenSomethingWasFound) {
    describe("ModemHID", "Modem");
    describe("PortHID", "data");
    ScriptedEntry& modem = addModem();
    addPort(modem, "data", "/dev/cu.data");
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), "DetectedModemName=Modem DetectedPortName=/dev/cu.data");
}

TEST_F(HWServiceDetectionIOKitTest, OtherContentOfTheResultIsKept) {
    describe("PortHID", "data");
    ScriptedEntry& modem = addModem();
    addPort(modem, "data", "/dev/cu.data");
    registry().matches = {{&modem}};
    Dictionary result;
    result.addValue("Kept", std::string("yes"));
    m_service.detectDeviceHID(m_description, result);
    EXPECT_EQ(flat(result), "DetectedPortName=/dev/cu.data Kept=yes");
}

TEST_F(HWServiceDetectionIOKitTest, TwoConnectedDevicesWriteOneAfterTheOtherAndTheLastOneStays) {
    describe("PortHID", "data.*");
    ScriptedEntry& first = addModem("first", "IOService:/usb@14000000");
    ScriptedEntry& second = addModem("second", "IOService:/usb@15000000");
    addPort(first, "data1", "/dev/cu.data1");
    addPort(second, "data2", "/dev/cu.data2");
    registry().matches = {{&first, &second}};
    EXPECT_EQ(detect(), "DetectedPortName=/dev/cu.data2");
}

TEST_F(HWServiceDetectionIOKitTest, TheScanIgnoresItsReferenceAndReadsTheGivenIterator) {
    describe("PortHID", "data");
    ScriptedEntry& modem = addModem();
    addPort(modem, "data", "/dev/cu.data");
    const io_iterator_t iterator = registry().makeIterator({&modem});
    Dictionary found;
    m_service.DeviceAdded(&found, iterator, m_description, found);
    EXPECT_EQ(flat(found), "DetectedPortName=/dev/cu.data");
    IOObjectRelease(iterator);
}

TEST_F(HWServiceDetectionIOKitTest, DescendantsOfOtherClassesWithoutClassOrUnreadableAreSkippedAndReleased) {
    describe("PortHID", "data");
    describe("NetworkAdapterHID", "any");
    ScriptedEntry& modem = addModem();
    addPort(modem, "data", "/dev/cu.data").hasReadableProperties = false;
    addPort(modem, "data", "/dev/cu.wrong").with("IOClass", "IOSerialBSDClientNub");
    addPort(modem, "data", "/dev/cu.number").with("IOClass", 1);
    addPort(modem, "data", "/dev/cu.none").properties.erase("IOClass");
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), "");
    EXPECT_THAT(script().callsOf("IORegistryEntrySearchCFProperty"), IsEmpty());
}

/// The walk with the parameter's number breaks off, and what it has found so far is discarded: 1 is the walk
/// over the devices, 2 that over a device's descendants, 3 that over the interfaces.
class BrokenWalkTest : public HWServiceDetectionIOKitTest, public testing::WithParamInterface<int> {
protected:
    BrokenWalkTest() {
        describe("PortHID", "data.*");
        describe("ModemPortHID", "dial.*");
        describe("NetworkAdapterHID", "any");
        ScriptedEntry& first = addModem("first", "IOService:/usb@14000000");
        ScriptedEntry& second = addModem("second", "IOService:/usb@15000000");
        addPort(first, "dial1", "/dev/cu.dial1"); // is gone when a walk starts again
        ScriptedEntry& port = addPort(first, "data1", "/dev/cu.data1");
        ScriptedEntry& stack =
            addNetworkStack(first, {&addInterface(first.path + "/net", "wwan0"), &addInterface("", "")});
        addPort(second, "data2", "/dev/cu.data2");
        registry().matches = {{&first, &second}};
        m_left = {{1, {&second}}, {2, {&port, &stack}}, {3, {&addInterface("", "")}}};
    }

    /// The services that are still there when the walk starts again.
    std::map<int, std::vector<ScriptedEntry*>> m_left;
};

TEST_P(BrokenWalkTest, BeginsAgainWithoutWhatHasLeft) {
    std::map<int, std::string> expected = {
        {1, "DetectedPortName=/dev/cu.data2"},
        {2, "DetectedNetworkAdapterName=wwan0 DetectedPortName=/dev/cu.data2"},
        {3, "DetectedModemPortName=/dev/cu.dial1 DetectedPortName=/dev/cu.data2"}};
    registry().changes[GetParam()] = ScriptedChange{1, 1, m_left[GetParam()]};
    EXPECT_EQ(detect(), expected[GetParam()]);
    EXPECT_EQ(script().callsOf("IOIteratorReset").size(), 1u);
}

TEST_P(BrokenWalkTest, EndsAfterTenWalksWhenTheRegistryNeverRests) {
    TraceCapture trace;
    registry().changes[GetParam()] = ScriptedChange{1000, 1, m_left[GetParam()]};
    EXPECT_NE("", detect());
    EXPECT_EQ(script().callsOf("IOIteratorReset").size(), 9u);
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] The registry changed during each of 10 walks.\n"));
}

INSTANTIATE_TEST_SUITE_P(All, BrokenWalkTest, testing::Values(1, 2, 3));

TEST_F(HWServiceDetectionIOKitTest, WhatTheCallerHadFoundStaysWhenAWalkBeginsAgain) {
    describe("PortHID", "data");
    ScriptedEntry& modem = addModem();
    addPort(modem, "data", "/dev/cu.data");
    registry().changes[1] = ScriptedChange{1, 1, {&modem}};
    const io_iterator_t iterator = registry().makeIterator({&modem});
    Dictionary found;
    found.addValue("Kept", std::string("yes"));
    m_service.DeviceAdded(NULL, iterator, m_description, found);
    EXPECT_EQ(flat(found), "DetectedPortName=/dev/cu.data Kept=yes");
    IOObjectRelease(iterator);
}

TEST_F(HWServiceDetectionIOKitTest, ARefusedWalkOfTheDescendantsSkipsTheDevice) {
    describe("PortHID", "data");
    ScriptedEntry& modem = addModem();
    addPort(modem, "data", "/dev/cu.data");
    registry().matches = {{&modem}};
    registry().iteratorResult = static_cast<kern_return_t>(0xE00002BC);
    EXPECT_EQ(detect(), "");
}

// ---- serial ports

struct PortCase {
    const char* name;
    const char* port;
    const char* modemPort;
    const char* tty;
    const char* found;
};

class SerialPortTest : public HWServiceDetectionIOKitTest, public testing::WithParamInterface<PortCase> {};

TEST_P(SerialPortTest, IsStoredUnderTheKeysWhoseNameItHas) {
    if (GetParam().port[0] != '\0')
        describe("PortHID", GetParam().port);
    if (GetParam().modemPort[0] != '\0')
        describe("ModemPortHID", GetParam().modemPort);
    ScriptedEntry& modem = addModem();
    addPort(modem, GetParam().tty, "/dev/cu.x");
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), GetParam().found);
}

#define AS_PORT "DetectedPortName=/dev/cu.x"
#define AS_MODEM_PORT "DetectedModemPortName=/dev/cu.x"
INSTANTIATE_TEST_SUITE_P(
    All, SerialPortTest,
    testing::Values(
        PortCase{"TheNameInAnotherLetterCase", "Modem-Data", "", "modem-data", AS_PORT},
        PortCase{"TheNameOfTheModemPort", "x", "Modem", "mODEM", AS_MODEM_PORT},
        PortCase{"AnEqualNameWinsOverAMatchingPattern", "Modem-Data", "modem.*", "modem-data", AS_PORT},
        PortCase{"BothNamesEqualFillTheDataPortOnly", "modem", "MODEM", "modem", AS_PORT},
        PortCase{"BothPatternsFillBothKeysOnPurpose", "wwan.*", "w.*", "wwan0", AS_MODEM_PORT " " AS_PORT},
        PortCase{"OneOfTwoPatterns", "acm[0-9]", "wwan.*", "WWAN0", AS_MODEM_PORT},
        PortCase{"APatternMatchesAnywhere", "mod", "", "usbmodem1", AS_PORT},
        PortCase{"BasicSyntaxTakesAPlusLiterally", "wwan0+", "", "wwan00", ""},
        PortCase{"BasicSyntaxKnowsBackslashBraces", "wwan0\\{2\\}", "", "wwan00", AS_PORT},
        PortCase{"APatternThatDoesNotCompileMatchesNothing", "wwan\\(", "", "wwan0", ""},
        PortCase{"ABrokenPatternStillNamesItsEqual", "wwan\\(", "", "wwan\\(", AS_PORT},
        PortCase{"BothEmptyIgnoreAllPorts", "", "", "wwan0", ""},
        PortCase{"AnEmptyPatternMatchesNothing", "", "acm", "wwan0", ""},
        PortCase{"AnEmptyNameIsRejected", ".*", ".*", "", ""}),
    [](const testing::TestParamInfo<PortCase>& test) { return test.param.name; });

TEST_F(HWServiceDetectionIOKitTest, WithBothPortsEmptySerialPortsAreNotEvenLookedAt) {
    ScriptedEntry& modem = addModem();
    addPort(modem, "wwan0", "/dev/cu.x");
    registry().matches = {{&modem}};
    detect();
    EXPECT_THAT(script().callsOf("IORegistryEntrySearchCFProperty"), IsEmpty());
}

TEST_F(HWServiceDetectionIOKitTest, ARejectedPortIsNotAskedForItsPath) {
    TraceCapture trace;
    describe("PortHID", "data");
    ScriptedEntry& modem = addModem();
    addPort(modem, "", "/dev/cu.x");
    registry().matches = {{&modem}};
    detect();
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] Port Name :  \n"));
    EXPECT_THAT(trace.text(), Not(HasSubstr("CallOutDevice")));
    EXPECT_EQ(script().callsOf("IORegistryEntrySearchCFProperty").size(), 1u);
}

TEST_F(HWServiceDetectionIOKitTest, AnAcceptedPortWithoutACalloutDeviceIsStoredWithAnEmptyPath) {
    describe("PortHID", "data");
    ScriptedEntry& modem = addModem();
    addPort(modem, "data", "");
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), "DetectedPortName=");
}

TEST_F(HWServiceDetectionIOKitTest, ATtyNameThatIsNoTextCountsAsAbsent) {
    describe("PortHID", ".*");
    ScriptedEntry& modem = addModem();
    addPort(modem, "data", "/dev/cu.x").with("IOTTYDevice", 1);
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), "");
}

TEST_F(HWServiceDetectionIOKitTest, TextsLongerThan255BytesAreCut) {
    describe("PortHID", "data");
    ScriptedEntry& modem = addModem();
    addPort(modem, "data", std::string(300, 'x'));
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), "DetectedPortName=" + std::string(255, 'x'));
}

TEST_F(HWServiceDetectionIOKitTest, ACutNeverLeavesHalfACharacter) {
    describe("PortHID", "data");
    ScriptedEntry& modem = addModem();
    std::string text;
    for (int i = 0; i < 100; ++i)
        text += "\xE2\x82\xAC"; // the Euro sign
    addPort(modem, "data", "x" + text);
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), "DetectedPortName=x" + text.substr(0, 84 * 3));
}

// ---- network interface

TEST_F(HWServiceDetectionIOKitTest, TheInterfaceBelowTheDeviceIsFoundAmongTheStacksParents) {
    describe("NetworkAdapterHID", "its text is not compared");
    ScriptedEntry& modem = addModem();
    addNetworkStack(modem,
                    {&addInterface("IOService:/pci/en0", "en0"), &addInterface(modem.path + "/net", "wwan0"),
                     &addInterface("IOService:/usb@15000000/net", "wwan1")});
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), "DetectedNetworkAdapterName=wwan0");
}

TEST_F(HWServiceDetectionIOKitTest, TheNetworkSearchMakesTheseCallsInTheirOrder) {
    describe("NetworkAdapterHID", "any");
    ScriptedEntry& modem = addModem();
    addNetworkStack(
        modem, {&addInterface("IOService:/pci/en0", "en0"), &addInterface(modem.path + "/net", "wwan0")});
    registry().matches = {{&modem}};
    detect();
    const std::vector<std::string>& calls = script().calls();
    EXPECT_EQ(
        std::vector<std::string>(calls.begin() + 8, calls.begin() + 19),
        (std::vector<std::string>{
            "IORegistryEntryGetParentIterator(stack, IOService)", "IOIteratorNext(iterator 3) = interface",
            "IORegistryEntryGetPath(interface, IOService)", "IOObjectRelease(interface)",
            "IOIteratorNext(iterator 3) = interface", "IORegistryEntryGetPath(interface, IOService)",
            "IORegistryEntryCreateCFProperties(interface)", "IOObjectRelease(interface)",
            "IOIteratorNext(iterator 3) = none", "IOObjectRelease(iterator 3)", "IOObjectRelease(stack)"}));
}

TEST_F(HWServiceDetectionIOKitTest, WithoutANetworkAdapterInTheDescriptionTheStackIsNotLookedAt) {
    describe("PortHID", "data");
    describe("NetworkAdapterHID", "");
    ScriptedEntry& modem = addModem();
    addNetworkStack(modem, {&addInterface(modem.path + "/net", "wwan0")});
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), "");
    EXPECT_THAT(script().callsOf("IORegistryEntryGetParentIterator"), IsEmpty());
}

TEST_F(HWServiceDetectionIOKitTest, InterfacesWithoutPathPropertiesOrNameAreSkippedAndReleased) {
    describe("NetworkAdapterHID", "any");
    ScriptedEntry& modem = addModem();
    ScriptedEntry& unreadable = addInterface(modem.path + "/a", "wwan1");
    unreadable.hasReadableProperties = false;
    addNetworkStack(modem,
                    {&addInterface("", "wwan0"), &unreadable, &registry().add("nameless", modem.path + "/b"),
                     &registry().add("number", modem.path + "/c").with("BSD Name", 3)});
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), "");
}

TEST_F(HWServiceDetectionIOKitTest, AnInterfaceNameThatUtf8CannotHoldIsSkipped) {
    describe("NetworkAdapterHID", "any");
    ScriptedEntry& modem = addModem();
    ScriptedEntry& interface = addInterface(modem.path + "/net", "");
    const UniChar halfAPair[] = {'w', 0xD800};
    interface.properties["BSD Name"].reset(CFStringCreateWithCharacters(kCFAllocatorDefault, halfAPair, 2));
    addNetworkStack(modem, {&interface});
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), "");
}

TEST_F(HWServiceDetectionIOKitTest, ADeviceWithoutAReadablePathGetsNobodyElsesInterface) {
    describe("NetworkAdapterHID", "any");
    ScriptedEntry& modem = addModem("modem", "");
    addNetworkStack(modem, {&addInterface("IOService:/pci/en0", "en0")});
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(), "");
}

TEST_F(HWServiceDetectionIOKitTest, EverythingFoundIsAddedTogether) {
    describe("VendorID", "4817");
    describe("ProductID", "5121");
    describe("ModemHID", "Modem");
    describe("PortHID", "data");
    describe("ModemPortHID", "dial");
    describe("NetworkAdapterHID", "any");
    ScriptedEntry& modem = addModem();
    addPort(modem, "data", "/dev/cu.data");
    addPort(modem, "dial", "/dev/cu.dial");
    addNetworkStack(modem, {&addInterface(modem.path + "/net", "wwan0")});
    registry().matches = {{&modem}};
    EXPECT_EQ(detect(),
              "DetectedModemName=Modem DetectedNetworkAdapterName=wwan0 DetectedModemPortName=/dev/cu.dial "
              "DetectedPortName=/dev/cu.data");
}

// ---- the service

TEST_F(HWServiceDetectionIOKitTest, IsAvailable) {
    EXPECT_TRUE(m_service.isAvailable());
}

TEST_F(HWServiceDetectionIOKitTest, InitRegisteringAndUnregisteringDoNothingBeyondTracing) {
    TraceCapture trace;
    m_service.init();
    m_service.registerService();
    m_service.unRegisterService();
    EXPECT_THAT(script().calls(), IsEmpty());
    EXPECT_THAT(trace.text(), HasSubstr("HWServiceDetectionIOKit::init\n"));
    EXPECT_THAT(trace.text(), HasSubstr("HWServiceDetectionIOKit::registerService\n"));
    EXPECT_THAT(trace.text(), HasSubstr("HWServiceDetectionIOKit::unRegisterService\n"));
}

} // namespace
