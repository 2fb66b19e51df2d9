#include "MAC/HWServicePnPIOKit.h"

#include "HWServicePnPClient.h"
#include "KFExceptionHandler.h"
#include "Logger.h"
#include "OtherProcess.h"
#include "Script.h"
#include "ScriptedRegistry.h"
#include "TraceCapture.h"

#include <IOKit/IOMessage.h>

#include <memory>
#include <stdexcept>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

using Events = std::vector<std::string>;

/// Records its notifications.
class RecordingClient : public HWServicePnPClient {
public:
    explicit RecordingClient(std::vector<std::string>& events, const std::string& name = "")
        : m_events(events), m_name(name) {}

    void onResumeStandbyMode() override { m_events.push_back(m_name + "resume"); }
    void onDeviceArrival(std::string& hid) override { m_events.push_back(m_name + "arrival " + hid); }
    void onDeviceRemoval(std::string& hid) override { m_events.push_back(m_name + "removal " + hid); }
    void onVolumeArrival(std::string&) override { m_events.push_back(m_name + "volume arrival"); }
    void onVolumeRemoval(std::string&) override { m_events.push_back(m_name + "volume removal"); }

private:
    std::vector<std::string>& m_events;
    std::string m_name;
};

class FailingClient : public HWServicePnPClient {
public:
    void onResumeStandbyMode() override {}
    void onDeviceArrival(std::string&) override { throw std::runtime_error("no arrival today"); }
    void onDeviceRemoval(std::string&) override { throw std::runtime_error("no removal today"); }
};

class HWServicePnPIOKitTest : public ScriptedTest {
protected:
    ScriptedRegistry& registry() { return ScriptedRegistry::current(); }

    ScriptedEntry& addModem() {
        return registry()
            .add("modem", "IOService:/usb@14000000")
            .with("idVendor", 0x12D1)
            .with("idProduct", 0x1001);
    }

    /// The order of the registrations: first that for devices, then, for each device, its interest and its
    /// children.
    const ScriptedNotification& devices() { return registry().notifications().at(0); }
    const ScriptedNotification& interest(size_t device = 0) {
        return registry().notifications().at(1 + 2 * device);
    }
    const ScriptedNotification& children(size_t device = 0) {
        return registry().notifications().at(2 + 2 * device);
    }

    /// A client's notifications of an arriving device. If the notification of its children includes the
    /// device itself, as the kernel's does, there is one more.
    static Events arrival(const std::string& hid, const std::string& client = "") {
        return Events(matchesAsKernel() ? 2 : 1, client + "arrival " + hid);
    }
    static Events removal(const std::string& hid) { return {"removal " + hid}; }
    static Events oneAfterTheOther(const std::vector<Events>& parts) {
        Events all;
        for (const Events& part : parts)
            all.insert(all.end(), part.begin(), part.end());
        return all;
    }
    /// The events of two services in one delivery, which the kernel reverses.
    static Events asDelivered(const Events& first, const Events& second) {
        return matchesAsKernel() ? oneAfterTheOther({second, first}) : oneAfterTheOther({first, second});
    }
    /// The calls about services that the test has added.
    Events callsAboutOwn() {
        Events own;
        for (const std::string& call : script().calls())
            if (!ScriptedRegistry::isAboutStranger(call))
                own.push_back(call);
        return own;
    }

    void registerWithClient() {
        m_service.registerClient(&m_client);
        m_service.registerService();
    }
    void terminate(size_t device = 0) { registry().send(interest(device), kIOMessageServiceIsTerminated); }

    Events m_events;
    RecordingClient m_client{m_events};
    HWServicePnPIOKit m_service;
};

// ---- registration

TEST_F(HWServicePnPIOKitTest, RegisteringMakesTheseCallsInTheirOrder) {
    m_service.registerService();
    EXPECT_THAT(
        script().calls(),
        ElementsAre("IOServiceMatching(IOUSBDevice)", "IONotificationPortCreate(default)",
                    "IONotificationPortGetRunLoopSource(port)",
                    "CFRunLoopAddSource(current, source, common modes)",
                    "IOServiceAddMatchingNotification(port, IOServiceMatched, IOProviderClass=IOUSBDevice)",
                    "IOIteratorNext(iterator 1) = none", "IONotificationPortGetMachPort(port)"));
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, APortThatHearsNothingIsAnErrorInTraceAndLog) {
    const std::string text = "No device that arrives or leaves from now on will be noticed.\n";
    TraceCapture trace;
    const TemporaryFolder folder;
    Logger logger;
    Logger::SetInstance(&logger);
    logger.SetFileName(folder / "log");
    logger.setDirectWrite(true);
    logger.addToLevelMask(MSG_ERROR);
    logger.setEnabled(true);
    m_service.registerService();
    m_service.unRegisterService();
    EXPECT_THAT(trace.text(), Not(HasSubstr(text)));
    EXPECT_NE(0, access((folder / "log_0.txt").c_str(), F_OK));
    registry().isPortDeaf = true;
    m_service.registerService();
    m_service.unRegisterService();
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] " + text));
    EXPECT_EQ(readFile(folder / "log_0.txt"), "[ERROR  ] " + text);
}

TEST_F(HWServicePnPIOKitTest, UnregisteringRemovesTheSourceReleasesTheIteratorAndDestroysThePort) {
    m_service.registerService();
    script().forgetCalls();
    m_service.unRegisterService();
    EXPECT_THAT(script().calls(),
                ElementsAre("CFRunLoopRemoveSource(current, source, common modes)",
                            "IOObjectRelease(iterator 1)", "IONotificationPortDestroy(port)"));
}

TEST_F(HWServicePnPIOKitTest, UnregisteringWithoutRegistrationDoesNothing) {
    m_service.unRegisterService();
    EXPECT_THAT(script().calls(), IsEmpty());
}

TEST_F(HWServicePnPIOKitTest, CanBeRegisteredAgainAfterUnregistering) {
    m_service.registerClient(&m_client);
    m_service.registerService();
    m_service.unRegisterService();
    m_service.registerService();
    registry().deliver(registry().notifications().at(1), {&addModem()});
    EXPECT_EQ(m_events, arrival(MODEM));
    registry().send(registry().notifications().at(2), kIOMessageServiceIsTerminated);
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, ANullMatchingDictionaryIsTracedAtLevelOneAndNothingIsRegistered) {
    TraceCapture trace;
    registry().isMatchingNull = true;
    m_service.registerService();
    EXPECT_THAT(script().calls(), ElementsAre("IOServiceMatching(IOUSBDevice)"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] IOServiceMatching returned NULL.\n\n"));
}

TEST_F(HWServicePnPIOKitTest, AMissingPortIsTracedAndReleasesTheMatchingDictionary) {
    TraceCapture trace;
    registry().isPortNull = true;
    m_service.registerService();
    EXPECT_THAT(script().calls(),
                ElementsAre("IOServiceMatching(IOUSBDevice)", "IONotificationPortCreate(default)"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] IONotificationPortCreate returned NULL."));
}

TEST_F(HWServicePnPIOKitTest, ARefusedNotificationIsTracedAndCanBeUnregistered) {
    TraceCapture trace;
    registry().matchingResult = static_cast<kern_return_t>(0xE00002C7);
    m_service.registerService();
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] IOServiceAddMatchingNotification returned 0xe00002c7."));
    EXPECT_THAT(script().callsOf("IOIteratorNext"), IsEmpty());
    m_service.unRegisterService();
    EXPECT_THAT(script().callsOf("IOObjectRelease"), IsEmpty());
}

TEST_F(HWServicePnPIOKitTest, IsAvailableIsDeliberatelyFalse) {
    EXPECT_FALSE(m_service.isAvailable());
    m_service.registerService();
    EXPECT_FALSE(m_service.isAvailable());
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, InitDoesNothingBeyondTracing) {
    TraceCapture trace;
    m_service.init();
    EXPECT_THAT(script().calls(), IsEmpty());
    EXPECT_THAT(trace.text(), HasSubstr("HWServicePnPIOKit::init\n"));
}

// ---- arrival

TEST_F(HWServicePnPIOKitTest, AnArrivalMakesTheseCallsInTheirOrder) {
    registerWithClient();
    script().forgetCalls();
    registry().deliver(devices(), {&addModem()});
    const Events itself = {"IOIteratorNext(iterator 2) = modem", "IORegistryEntryGetPath(modem, IOService)",
                           "IOObjectRelease(modem)"};
    EXPECT_EQ(callsAboutOwn(),
              oneAfterTheOther(
                  {{"IOIteratorNext(iterator 1) = modem", "IORegistryEntryGetName(modem)",
                    "IORegistryEntryGetPath(modem, IOService)",
                    "IORegistryEntrySearchCFProperty(modem, IOService, idVendor)",
                    "IORegistryEntrySearchCFProperty(modem, IOService, idProduct)",
                    "IOServiceAddInterestNotification(port, modem, IOGeneralInterest)",
                    "IOServiceAddMatchingNotification(port, IOServiceMatched, idProduct=4097 idVendor=4817)"},
                   matchesAsKernel() ? itself : Events(),
                   {"IOIteratorNext(iterator 2) = none", "IOObjectRelease(modem)",
                    "IOIteratorNext(iterator 1) = none"}}));
    EXPECT_EQ(m_events, arrival(MODEM));
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, TheDeviceIsReleasedBeforeAnyClientIsTold) {
    class Client : public HWServicePnPClient {
    public:
        void onResumeStandbyMode() override {}
        void onDeviceArrival(std::string&) override { Script::current().note("onDeviceArrival()"); }
        void onDeviceRemoval(std::string&) override {}
    } client;
    m_service.registerClient(&client);
    m_service.registerService();
    registry().deliver(devices(), {&addModem()});
    const std::vector<std::string>& calls = script().calls();
    EXPECT_EQ(std::vector<std::string>(calls.end() - 3, calls.end()),
              (std::vector<std::string>{"IOObjectRelease(modem)", "onDeviceArrival()",
                                        "IOIteratorNext(iterator 1) = none"}));
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, DevicesPresentAtRegistrationGiveNoArrivalButTheirRemovalIsTold) {
    registry().matches = {{&addModem()}, {}};
    registerWithClient();
    EXPECT_THAT(m_events, IsEmpty());
    terminate();
    EXPECT_THAT(m_events, ElementsAre(std::string("removal ") + MODEM));
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, ServicesPresentBelowAPresentDeviceGiveNoArrivalEither) {
    ScriptedEntry& modem = addModem();
    ScriptedEntry& interface = registry().add("interface", modem.path + "/interface@0");
    registry().matches = {{&modem}, {&modem, &interface}};
    registerWithClient();
    EXPECT_THAT(m_events, IsEmpty());
    // A service that appears below it later gives one.
    registry().deliver(children(), {&registry().add("late", modem.path + "/late@1")});
    EXPECT_THAT(m_events, ElementsAre(std::string("arrival ") + MODEM));
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, EveryDeviceOfOneDeliveryIsTold) {
    registerWithClient();
    ScriptedEntry& card =
        registry().add("card", "IOService:/usb@15000000").with("idVendor", 1).with("idProduct", 2);
    registry().deliver(devices(), {&addModem(), &card});
    EXPECT_EQ(m_events, asDelivered(arrival(MODEM), arrival("USB#Vid_0001&Pid_0002")));
    terminate(0);
    terminate(1);
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, EveryClientIsToldInTheOrderOfRegistration) {
    RecordingClient first(m_events, "first "), second(m_events, "second ");
    m_service.registerClient(&first);
    m_service.registerClient(&second);
    m_service.registerService();
    registry().deliver(devices(), {&addModem()});
    terminate();
    Events expected;
    for (std::size_t told = 0; told < arrival(MODEM).size(); ++told) {
        expected.push_back(std::string("first arrival ") + MODEM);
        expected.push_back(std::string("second arrival ") + MODEM);
    }
    expected.push_back(std::string("first removal ") + MODEM);
    expected.push_back(std::string("second removal ") + MODEM);
    EXPECT_EQ(m_events, expected);
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, AClientRegisteredTwiceIsToldTwice) {
    m_service.registerClient(&m_client);
    m_service.registerClient(&m_client);
    m_service.registerService();
    registry().deliver(devices(), {&addModem()});
    EXPECT_EQ(m_events.size(), 2 * arrival(MODEM).size());
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, WithoutClientsArrivalsAndRemovalsOnlyFreeAndTrace) {
    TraceCapture trace;
    m_service.registerService();
    registry().deliver(devices(), {&addModem()});
    terminate();
    EXPECT_THAT(trace.text(), HasSubstr(">> [D] PnP called for onDeviceRemoval."));
    EXPECT_THAT(unreleased(), ElementsAre("iterator 1", "port"));
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, AFailingClientKeepsNobodyElseFromBeingToldAndIsTraced) {
    TraceCapture trace;
    FailingClient failing;
    m_service.registerClient(&failing);
    registerWithClient();
    registry().deliver(devices(), {&addModem()});
    terminate();
    EXPECT_EQ(m_events, oneAfterTheOther({arrival(MODEM), removal(MODEM)}));
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] A client failed : no arrival today."));
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] A client failed : no removal today."));
    m_service.unRegisterService();
}

// ---- the hardware identifier

struct IdCase {
    int vendor;
    int product;
    const char* hid;
};

class HardwareIdTest : public HWServicePnPIOKitTest, public testing::WithParamInterface<IdCase> {};

TEST_P(HardwareIdTest, HasAtLeastFourLowerCaseHexadecimalDigitsEach) {
    registerWithClient();
    registry().deliver(devices(), {&registry()
                                        .add("device", "IOService:/usb@1")
                                        .with("idVendor", GetParam().vendor)
                                        .with("idProduct", GetParam().product)});
    EXPECT_EQ(m_events, arrival(GetParam().hid));
    terminate();
    m_service.unRegisterService();
}

INSTANTIATE_TEST_SUITE_P(All, HardwareIdTest,
                         testing::Values(IdCase{0x12D1, 0x1001, "USB#Vid_12d1&Pid_1001"},
                                         IdCase{0x0001, 0xABCD, "USB#Vid_0001&Pid_abcd"},
                                         IdCase{0, 0, "USB#Vid_0000&Pid_0000"},
                                         IdCase{0x12345, -1, "USB#Vid_12345&Pid_ffffffff"}));

TEST_F(HWServicePnPIOKitTest, AMissingIdCountsAsZero) {
    registerWithClient();
    registry().deliver(devices(),
                       {&registry().add("no ids", "IOService:/usb@1"),
                        &registry().add("no product", "IOService:/usb@2").with("idVendor", 0x12D1)});
    EXPECT_EQ(m_events, asDelivered(arrival("USB#Vid_0000&Pid_0000"), arrival("USB#Vid_12d1&Pid_0000")));
    terminate(0);
    terminate(1);
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, AnIdThatIsNoNumberCountsAsMissing) {
    registerWithClient();
    registry().deliver(
        devices(),
        {&registry().add("odd", "IOService:/usb@1").with("idVendor", "4817").with("idProduct", 2)});
    EXPECT_EQ(m_events, arrival("USB#Vid_0000&Pid_0002"));
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, ANameThatCannotBeReadChangesNothing) {
    registerWithClient();
    ScriptedEntry& modem = addModem();
    modem.hasReadableName = false;
    registry().deliver(devices(), {&modem});
    EXPECT_EQ(m_events, arrival(MODEM));
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, ADeviceThatHasGoneAlreadyIsToldAndLeavesNothingBehind) {
    TraceCapture trace;
    registerWithClient();
    registry().interestResult = static_cast<kern_return_t>(0xE00002D9);
    registry().deliver(devices(), {&addModem()});
    EXPECT_THAT(m_events, ElementsAre(std::string("arrival ") + MODEM));
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] IOServiceAddInterestNotification returned 0xe00002d9."));
    EXPECT_THAT(unreleased(), ElementsAre("iterator 1", "port"));
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, ADeviceThatIsMatchedAgainIsToldAgainAndItsRecordsAreFreedEachForItself) {
    registerWithClient();
    ScriptedEntry& modem = addModem();
    registry().deliver(devices(), {&modem});
    registry().deliver(devices(), {&modem});
    EXPECT_EQ(m_events, oneAfterTheOther({arrival(MODEM), arrival(MODEM)}));
    m_events.clear();
    terminate(0);
    EXPECT_THAT(unreleased(), ElementsAre("iterator 1", "interest in modem", "iterator 3", "port"));
    terminate(1);
    EXPECT_EQ(m_events, oneAfterTheOther({removal(MODEM), removal(MODEM)}));
    EXPECT_THAT(unreleased(), ElementsAre("iterator 1", "port"));
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, AServiceBelowADeviceThatIsMatchedAgainIsToldAgain) {
    registerWithClient();
    ScriptedEntry& modem = addModem();
    registry().deliver(devices(), {&modem});
    ScriptedEntry& interface = registry().add("interface", modem.path + "/interface@0");
    m_events.clear();
    registry().deliver(children(), {&interface});
    registry().deliver(children(), {&interface});
    EXPECT_THAT(m_events, ElementsAre(std::string("arrival ") + MODEM, std::string("arrival ") + MODEM));
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, ADevicesIteratorThatStaysInvalidIsGivenUpAfterTenWalks) {
    TraceCapture trace;
    registry().changes[1] = ScriptedChange{1000};
    m_service.registerService();
    EXPECT_EQ(script().callsOf("IOIteratorReset"), Events(9, "IOIteratorReset(iterator 1)"));
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] The registry changed during each of 10 walks."));
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, AnIteratorOfServicesBelowADeviceThatStaysInvalidIsGivenUpAfterTenWalks) {
    registry().changes[2] = ScriptedChange{1000};
    registerWithClient();
    registry().deliver(devices(), {&addModem()});
    EXPECT_EQ(script().callsOf("IOIteratorReset"), Events(9, "IOIteratorReset(iterator 2)"));
    EXPECT_THAT(m_events, ElementsAre(std::string("arrival ") + MODEM));
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, ARefusedWatchOfTheChildrenIsTracedAndTheRemovalStillWorks) {
    TraceCapture trace;
    registerWithClient();
    registry().matchingResult = static_cast<kern_return_t>(0xE00002BC);
    registry().deliver(devices(), {&addModem()});
    terminate();
    EXPECT_THAT(m_events, ElementsAre(std::string("arrival ") + MODEM, std::string("removal ") + MODEM));
    EXPECT_THAT(trace.text(), HasSubstr(">> [E] IOServiceAddMatchingNotification returned 0xe00002bc."));
    m_service.unRegisterService();
}

// ---- services below a device

TEST_F(HWServicePnPIOKitTest, OneArrivalForTheDeviceAndOnePerServiceBelowItIsIntended) {
    registerWithClient();
    ScriptedEntry& modem = addModem();
    registry().deliver(devices(), {&modem});
    EXPECT_EQ(m_events, arrival(MODEM));
    m_events.clear();
    ScriptedEntry& first = registry().add("first", modem.path + "/interface@0");
    ScriptedEntry& second = registry().add("second", modem.path + "/interface@1");
    registry().deliver(children(), {&first, &second});
    EXPECT_THAT(m_events, ElementsAre(std::string("arrival ") + MODEM, std::string("arrival ") + MODEM));
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, AServiceThatIsAlreadyThereWhenTheWatchIsArmedIsToldBeforeTheDevice) {
    ScriptedEntry& modem = addModem();
    registry().matches = {{}, {&modem}};
    registerWithClient();
    registry().deliver(devices(), {&modem});
    EXPECT_EQ(m_events.size(), 2u);
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, AMatchingServiceElsewhereInTheRegistryGivesNoArrival) {
    registerWithClient();
    ScriptedEntry& modem = addModem();
    registry().deliver(devices(), {&modem});
    m_events.clear();
    registry().deliver(children(), {&registry().add("twin", "IOService:/usb@15000000/interface@0")});
    EXPECT_THAT(m_events, IsEmpty());
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, TheDevicesPathCountsAnywhereInTheServicesPath) {
    registerWithClient();
    ScriptedEntry& modem = addModem();
    registry().deliver(devices(), {&modem});
    m_events.clear();
    registry().deliver(children(), {&registry().add("odd", "before/" + modem.path + "/after")});
    EXPECT_THAT(m_events, ElementsAre(std::string("arrival ") + MODEM));
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, AServiceWithoutAPathGivesNoArrivalAndIsReleased) {
    registerWithClient();
    registry().deliver(devices(), {&addModem()});
    m_events.clear();
    registry().deliver(children(), {&registry().add("gone", "")});
    EXPECT_THAT(m_events, IsEmpty());
    EXPECT_THAT(script().callsOf("IOObjectRelease"), testing::Contains("IOObjectRelease(gone)"));
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, ADeviceWhosePathCouldNotBeReadContainsNoService) {
    registerWithClient();
    registry().deliver(devices(), {&registry().add("device", "").with("idVendor", 1).with("idProduct", 2)});
    m_events.clear();
    registry().deliver(children(),
                       {&registry().add("gone", ""), &registry().add("interface", "IOService:/x")});
    EXPECT_THAT(m_events, IsEmpty());
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, AServiceBelowAnArrivingDeviceMakesTheseCalls) {
    registerWithClient();
    ScriptedEntry& modem = addModem();
    registry().deliver(devices(), {&modem});
    script().forgetCalls();
    registry().deliver(children(), {&registry().add("interface", modem.path + "/interface@0")});
    EXPECT_THAT(callsAboutOwn(),
                ElementsAre("IOIteratorNext(iterator 2) = interface",
                            "IORegistryEntryGetPath(interface, IOService)", "IOObjectRelease(interface)",
                            "IOIteratorNext(iterator 2) = none"));
    terminate();
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, AChildCallbackWithoutItsRecordBreaksTheContract) {
    TraceCapture trace;
    EXPECT_TRUE(isEndedByCrashHandler([] {
        KFExceptionHandler::GetInstance();
        ChildDeviceAdded(NULL, IO_OBJECT_NULL, false);
    }));
    EXPECT_THAT(trace.text(),
                HasSubstr(">> [E] ASSERT VIOLATION : refCon != NULL - In File : "
                          "product/Compatibility/HWServices/src/MAC/HWServicePnPIOKit - At Line : 41"));
}

// ---- removal

TEST_F(HWServicePnPIOKitTest, ATerminationTellsTracesAndReleasesInThisOrder) {
    registerWithClient();
    registry().deliver(devices(), {&addModem()});
    script().forgetCalls();
    TraceCapture trace;
    terminate();
    EXPECT_THAT(script().calls(),
                ElementsAre("IOObjectRelease(interest in modem)", "IOObjectRelease(iterator 2)"));
    const std::string text = trace.text();
    const size_t id = text.find(std::string(">> [D] HID = ") + MODEM + ".");
    const size_t told = text.find(">> [D] PnP called for onDeviceRemoval.");
    const size_t released = text.find(">> [D] IOObjectRelease called.");
    EXPECT_LT(id, told);
    EXPECT_LT(told, released);
    EXPECT_NE(std::string::npos, released);
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, ClientsAreToldBeforeTheDevicesObjectsAreReleased) {
    class Client : public HWServicePnPClient {
    public:
        void onResumeStandbyMode() override {}
        void onDeviceArrival(std::string&) override {}
        void onDeviceRemoval(std::string&) override { Script::current().note("onDeviceRemoval()"); }
    } client;
    m_service.registerClient(&client);
    m_service.registerService();
    registry().deliver(devices(), {&addModem()});
    script().forgetCalls();
    terminate();
    EXPECT_THAT(script().calls(), ElementsAre("onDeviceRemoval()", "IOObjectRelease(interest in modem)",
                                              "IOObjectRelease(iterator 2)"));
    m_service.unRegisterService();
}

class OtherMessageTest : public HWServicePnPIOKitTest, public testing::WithParamInterface<natural_t> {};

TEST_P(OtherMessageTest, GivesNoClientCallAndKeepsTheWatch) {
    registerWithClient();
    registry().deliver(devices(), {&addModem()});
    m_events.clear();
    script().forgetCalls();
    registry().send(interest(), GetParam());
    EXPECT_THAT(m_events, IsEmpty());
    EXPECT_THAT(script().calls(), IsEmpty());
    terminate();
    EXPECT_THAT(m_events, ElementsAre(std::string("removal ") + MODEM));
    m_service.unRegisterService();
}

// Suspended, resumed, busy state change, can power off, will power on, property change, none.
INSTANTIATE_TEST_SUITE_P(All, OtherMessageTest,
                         testing::Values(0xE0000020u, 0xE0000030u, 0xE0000120u, 0xE0000200u, 0xE0000320u,
                                         0xE0000130u, 0u));

TEST_F(HWServicePnPIOKitTest, TwoEqualDevicesAreToldAndFreedEachForItself) {
    registerWithClient();
    ScriptedEntry& other =
        registry().add("other", "IOService:/usb@15000000").with("idVendor", 0x12D1).with("idProduct", 0x1001);
    registry().deliver(devices(), {&addModem()});
    registry().deliver(devices(), {&other});
    m_events.clear();
    terminate(0);
    EXPECT_THAT(unreleased(), ElementsAre("iterator 1", "interest in other", "iterator 3", "port"));
    terminate(1);
    EXPECT_THAT(m_events, ElementsAre(std::string("removal ") + MODEM, std::string("removal ") + MODEM));
    m_service.unRegisterService();
}

TEST_F(HWServicePnPIOKitTest, UnregisteringDeliberatelyLeavesTheRecordsOfPresentDevices) {
    registerWithClient();
    registry().deliver(devices(), {&addModem()});
    m_service.unRegisterService();
    EXPECT_THAT(unreleased(), ElementsAre("interest in modem", "iterator 2"));
    // The record is still intact: a message that is on its way is handled.
    terminate();
    EXPECT_EQ(m_events, oneAfterTheOther({arrival(MODEM), removal(MODEM)}));
}

TEST_F(HWServicePnPIOKitTest, ATraceTellsDeviceIdAndPathOfWhatWasMatched) {
    TraceCapture trace;
    registerWithClient();
    registry().deliver(devices(), {&addModem()});
    EXPECT_THAT(trace.text(),
                HasSubstr("Device = modem, HID = USB#Vid_12d1&Pid_1001, path = IOService:/usb@14000000."));
    terminate();
    m_service.unRegisterService();
}

} // namespace
