#include "FeedTest.h"

#include <cstdio>
#include <fstream>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace LinuxPlatform;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Not;

std::vector<std::string> FeedTest::IdsOf(const std::string& name) const {
    std::vector<std::string> found;
    for (const auto& [id, service] : m_registry.services()) {
        if (service->name() != name)
            continue;
        std::string ids;
        for (const char* key : {"idVendor", "idProduct"}) {
            const PropertyValue* value = service->findProperty(key);
            char text[16] = "-";
            if (const std::int32_t* number = value ? std::get_if<std::int32_t>(value) : nullptr)
                std::snprintf(text, sizeof(text), "%04x", static_cast<unsigned>(*number));
            ids += (ids.empty() ? "" : "/") + std::string(text);
        }
        found.push_back(ids);
    }
    return found;
}

EntryPointer FeedTest::Service(const std::string& name) const {
    for (const auto& [id, service] : m_registry.services())
        if (service->name() == name)
            return service;
    ADD_FAILURE() << "no service " << name;
    return m_registry.root();
}

std::string FeedTest::textOf(const EntryPointer& entry, const char* key) {
    const PropertyValue* value = entry->findProperty(key);
    const std::string* text = value ? std::get_if<std::string>(value) : nullptr;
    return text ? *text : "(none)";
}

namespace {

using UdevFeedTest = FeedTest;

/// Tells whether a file in the folder has been opened since the construction.
class OpenWatch {
public:
    explicit OpenWatch(const std::string& folder) : m_descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        EXPECT_GE(inotify_add_watch(m_descriptor, folder.c_str(), IN_OPEN), 0) << folder;
    }
    OpenWatch(const OpenWatch&) = delete;
    OpenWatch& operator=(const OpenWatch&) = delete;
    ~OpenWatch() { close(m_descriptor); }

    bool HasSeenOne() const {
        char event[4096];
        return read(m_descriptor, event, sizeof(event)) > 0;
    }

private:
    const int m_descriptor;
};

} // namespace

TEST_F(UdevFeedTest, SeesWhatIsThereAtTheStart) {
    const std::string device = m_bus.AddUsbDevice("1-1", "12d1", "1001");
    m_bus.AddPort(m_bus.AddInterface(device, "1-1:1.0"), "ttyUSB0");
    m_bus.AddNetworkCard(m_bus.AddInterface(device, "1-1:1.1"), "wwan0");
    start();
    EXPECT_THAT(TakeEvents(),
                ElementsAre("+Modem", "+IOUSBInterface", "+IOUSBInterface", "+ttyUSB0", "+wwan0"));
    EXPECT_THAT(IdsOf("Modem"), ElementsAre("12d1/1001"));
    EXPECT_THAT(IdsOf("IOUSBInterface"), ElementsAre("12d1/1001", "12d1/1001"));
    EXPECT_EQ(textOf(Service("ttyUSB0"), "IOCalloutDevice"), "/dev/ttyUSB0");
    EXPECT_EQ(textOf(Service("wwan0"), "BSD Name"), "wwan0");
    EXPECT_EQ(Service("wwan0")->children().front(), m_registry.networkStack());
}

TEST_F(UdevFeedTest, AnEmptyBusIsFine) {
    start();
    EXPECT_THAT(TakeEvents(), IsEmpty());
    EXPECT_GE(m_feed.descriptor(), 0);
}

TEST_F(UdevFeedTest, PortsAndCardsThatAreNotOnUsbAreLeftAlone) {
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    m_bus.AddPort("", "ttyS0");
    m_bus.AddNetworkCard("", "eth0");
    start();
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    m_bus.AddPort("", "ttyS1");
    m_bus.add("block", "sda", "", {}, {});
    EXPECT_THAT(Pumped(), IsEmpty());
}

TEST_F(UdevFeedTest, TellsOfAnArrival) {
    start();
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    pollfd ready{m_feed.descriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&ready, 1, 60000), 1);
    EXPECT_THAT(Pumped(), ElementsAre("+Modem"));
    EXPECT_THAT(IdsOf("Modem"), ElementsAre("12d1/1001"));
    EXPECT_EQ(poll(&ready, 1, 0), 0) << "and nothing is left to read";
}

TEST_F(UdevFeedTest, DrainsAllThatWaits) {
    start();
    const std::string first = m_bus.AddUsbDevice("1-1", "12d1", "1001");
    const std::string interface = m_bus.AddInterface(first, "1-1:1.0");
    m_bus.AddUsbDevice("1-2", "19d2", "0031");
    m_bus.Announce(interface, "remove");
    EXPECT_THAT(Pumped(), ElementsAre("+Modem", "+IOUSBInterface", "+Modem", "-IOUSBInterface"));
}

TEST_F(UdevFeedTest, TellsOfARemoval) {
    const std::string device = m_bus.AddUsbDevice("1-1", "12d1", "1001");
    start();
    m_bus.remove(device);
    EXPECT_THAT(Pumped(), ElementsAre("-Modem"));
}

TEST_F(UdevFeedTest, ADeviceThatArrivesWhileTheFeedStartsArrivesOnce) {
    MockedUdev::get().whenEnabled = [this] { m_bus.AddUsbDevice("1-1", "12d1", "1001"); };
    start();
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
    EXPECT_THAT(Pumped(), IsEmpty());
}

TEST_F(UdevFeedTest, ADeviceThatArrivesBeforeTheFeedListensIsSeen) {
    MockedUdev::get().whenEnabling = [this] { m_bus.AddUsbDevice("1-1", "12d1", "1001"); };
    start();
    EXPECT_THAT(TakeEvents(), ElementsAre("+Modem"));
}

TEST_F(UdevFeedTest, ADeviceThatLeavesWhileTheFeedStartsIsGone) {
    const std::string device = m_bus.AddUsbDevice("1-1", "12d1", "1001");
    MockedUdev::get().whenEnabled = [&] { m_bus.remove(device); };
    start();
    EXPECT_FALSE(m_devices.knows(device));
}

TEST_F(UdevFeedTest, UnknownActionsAreIgnored) {
    const std::string device = m_bus.AddUsbDevice("1-1", "12d1", "1001");
    start();
    const std::string other = m_bus.AddUsbDevice("1-2", "12d1", "1003");
    EXPECT_THAT(Pumped(), ElementsAre("+Modem"));
    m_bus.SetAttribute(device, "idProduct", "1446");
    for (const char* action : {"online", "offline", "unbind", "invented"})
        m_bus.Announce(device, action);
    EXPECT_THAT(Pumped(), IsEmpty());
}

TEST_F(UdevFeedTest, ABoundOrChangedDeviceThatWasUnknownArrives) {
    start();
    LoseEvents();
    const std::string device = m_bus.AddUsbDevice("1-1", "12d1", "1001");
    const std::string interface = m_bus.AddInterface(device, "1-1:1.0");
    testing::internal::CaptureStderr();
    Pumped();
    testing::internal::GetCapturedStderr();
    m_devices.leaveAll();
    m_bus.Announce(device, "bind");
    m_bus.Announce(interface, "change");
    EXPECT_THAT(Pumped(), ElementsAre("+Modem", "+IOUSBInterface"));
    m_bus.Announce(device, "bind");
    m_bus.Announce(device, "change");
    EXPECT_THAT(Pumped(), IsEmpty()) << "and arrives once";
}

TEST_F(UdevFeedTest, ADevicePluggedInAgainBetweenTwoLooksIsRemovedAndArrives) {
    const std::string device = m_bus.AddUsbDevice("1-1", "12d1", "1001");
    start();
    m_bus.remove(device);
    m_bus.AddUsbDevice("1-1", "12d1", "1001");
    EXPECT_THAT(Pumped(), ElementsAre("-Modem", "+Modem"));
}

TEST_F(UdevFeedTest, AModeSwitchIsARemovalAndAnArrivalAtTheSamePlace) {
    const std::string cdRom = m_bus.AddUsbDevice("1-1", "12d1", "1446", {}, {{"product", "Mass Storage"}});
    const std::string storage = m_bus.AddInterface(cdRom, "1-1:1.0");
    start();
    TakeEvents();
    m_bus.remove(storage);
    m_bus.remove(cdRom);
    const std::string modem = m_bus.AddUsbDevice("1-1", "12d1", "1001");
    m_bus.AddInterface(modem, "1-1:1.0");
    EXPECT_EQ(modem, cdRom);
    EXPECT_THAT(Pumped(), ElementsAre("-IOUSBInterface", "-Mass Storage", "+Modem", "+IOUSBInterface"));
    EXPECT_THAT(IdsOf("IOUSBInterface"), ElementsAre("12d1/1001"));
}

TEST_F(UdevFeedTest, AModeSwitchMayAlsoComeAsAChange) {
    const std::string device = m_bus.AddUsbDevice("1-1", "12d1", "1446", {}, {{"product", "Mass Storage"}});
    m_bus.AddInterface(device, "1-1:1.0");
    start();
    TakeEvents();
    m_bus.SetAttribute(device, "idProduct", "1001");
    m_bus.SetAttribute(device, "product", "Modem");
    m_bus.Announce(device, "change");
    EXPECT_THAT(Pumped(), ElementsAre("-IOUSBInterface", "-Mass Storage", "+Modem", "+IOUSBInterface"));
    EXPECT_THAT(IdsOf("IOUSBInterface"), ElementsAre("12d1/1001"));
}

TEST_F(UdevFeedTest, APortThatIsAnnouncedBeforeItsInterfaceWaitsForIt) {
    start();
    const std::string device = m_bus.AddUsbDevice("1-1", "12d1", "1001");
    const std::string interface = m_bus.AddInterface(device, "1-1:1.0");
    const std::string port = m_bus.AddPort(interface, "ttyUSB0");
    Pumped();
    m_devices.leaveAll();
    m_bus.Announce(port, "add");
    EXPECT_THAT(Pumped(), IsEmpty());
    m_bus.Announce(interface, "add");
    EXPECT_THAT(Pumped(), IsEmpty());
    m_bus.Announce(device, "add");
    EXPECT_THAT(Pumped(), ElementsAre("+Modem", "+IOUSBInterface", "+ttyUSB0"));
    EXPECT_EQ(Service("ttyUSB0")->parents().front(), Service("IOUSBInterface").get());
}

TEST_F(UdevFeedTest, MalformedIdsCountAsMissing) {
    m_bus.AddUsbDevice("1-1", "12dx", "1001", {}, {{"product", "trailing"}});
    m_bus.AddUsbDevice("1-2", "", " 1001", {}, {{"product", "empty"}});
    m_bus.AddUsbDevice("1-3", "0x12d1", "-001", {}, {{"product", "signed"}});
    m_bus.AddUsbDevice("1-4", "012d1", "12D1", {}, {{"product", "long"}});
    m_bus.AddUsbDevice("1-5", "1", "ffff", {}, {{"product", "short"}});
    m_bus.add("usb", "1-6", "", {{"product", "none"}}, {{"DEVTYPE", "usb_device"}});
    m_bus.add("usb", "1-7", "", {{"product", "one"}, {"idVendor", "12d1"}}, {{"DEVTYPE", "usb_device"}});
    start();
    EXPECT_THAT(IdsOf("trailing"), ElementsAre("-/1001"));
    EXPECT_THAT(IdsOf("empty"), ElementsAre("-/-"));
    EXPECT_THAT(IdsOf("signed"), ElementsAre("-/-"));
    EXPECT_THAT(IdsOf("long"), ElementsAre("-/12d1"));
    EXPECT_THAT(IdsOf("short"), ElementsAre("0001/ffff"));
    EXPECT_THAT(IdsOf("none"), ElementsAre("-/-"));
    EXPECT_THAT(IdsOf("one"), ElementsAre("12d1/-"));
}

TEST_F(UdevFeedTest, AShortVisitKeepsItsIds) {
    start();
    const std::string device =
        m_bus.AddUsbDevice("1-1", "12d1", "1001", {{"PRODUCT", "12d1/1001/0"}, {"DEVNUM", "007"}});
    const std::string interface = m_bus.AddInterface(device, "1-1:1.0");
    m_bus.remove(interface);
    m_bus.remove(device);
    EXPECT_THAT(Pumped(), ElementsAre("+IOUSBDevice", "+IOUSBInterface", "-IOUSBInterface", "-IOUSBDevice"))
        << "the product's name went with the device";
}

TEST_F(UdevFeedTest, AnEventOfADeviceThatIsGoneIsBelieved) {
    start();
    const std::string device =
        m_bus.AddUsbDevice("1-1", "12d1", "1001", {{"PRODUCT", "12d1/1001/0"}, {"DEVNUM", "007"}});
    m_bus.forget(device);
    Pumped();
    EXPECT_THAT(IdsOf("IOUSBDevice"), ElementsAre("12d1/1001"));
}

TEST_F(UdevFeedTest, AnEventOfADeviceThatIsGoingIsBelieved) {
    start();
    // The attributes of a leaving device vanish one by one: its idProduct is gone already.
    m_bus.add("usb", "1-1", "", {{"idVendor", "12d1"}},
              {{"DEVTYPE", "usb_device"}, {"PRODUCT", "12d1/1001/0"}, {"DEVNUM", "007"}});
    Pumped();
    EXPECT_THAT(IdsOf("IOUSBDevice"), ElementsAre("12d1/1001"));
}

TEST_F(UdevFeedTest, AnEventOfADeviceThatWasReplacedIsBelieved) {
    start();
    const std::string device = m_bus.AddUsbDevice(
        "1-1", "12d1", "1446", {{"PRODUCT", "12d1/1446/0"}, {"DEVNUM", "007"}}, {{"devnum", "7"}});
    m_bus.SetAttribute(device, "idProduct", "1001");
    m_bus.SetAttribute(device, "devnum", "8");
    Pumped();
    EXPECT_THAT(IdsOf("Modem"), ElementsAre("12d1/1446"));
    m_bus.SetProperty(device, "PRODUCT", "12d1/1001/0");
    m_bus.SetProperty(device, "DEVNUM", "008");
    m_bus.Announce(device, "remove");
    m_bus.Announce(device, "add");
    EXPECT_THAT(Pumped(), ElementsAre("-Modem", "+Modem"));
    EXPECT_THAT(IdsOf("Modem"), ElementsAre("12d1/1001"));
}

TEST_F(UdevFeedTest, AttributesAreBelievedWhereTheEventHasNoIds) {
    m_bus.AddUsbDevice("1-1", "12d1", "1001", {{"PRODUCT", "12d1/14460"}});
    m_bus.AddUsbDevice("1-2", "12d1", "1002", {{"PRODUCT", "12d1/14460/0"}});
    m_bus.AddUsbDevice("1-3", "12d1", "1003");
    start();
    EXPECT_THAT(IdsOf("Modem"), ElementsAre("12d1/1001", "12d1/1002", "12d1/1003"));
}

TEST_F(UdevFeedTest, TheNumberOfTheBusIsAlsoReadFromTheDevice) {
    const std::string device = m_bus.AddUsbDevice("1-1", "12d1", "1001", {}, {{"devnum", "7"}});
    start();
    m_bus.SetAttribute(device, "devnum", "8");
    m_bus.Announce(device, "add");
    EXPECT_THAT(Pumped(), ElementsAre("-Modem", "+Modem"));
}

TEST_F(UdevFeedTest, AReplugThatOnlyItsNumberTellsIsRemovedAndArrives) {
    const std::string device =
        m_bus.AddUsbDevice("1-1", "12d1", "1001", {{"DEVNUM", "007"}}, {{"devnum", "7"}});
    start();
    m_bus.SetProperty(device, "DEVNUM", "008");
    m_bus.SetAttribute(device, "devnum", "8");
    m_bus.Announce(device, "add");
    EXPECT_THAT(Pumped(), ElementsAre("-Modem", "+Modem"));
}

TEST_F(UdevFeedTest, ARenamedNetworkCardKeepsItsPlaceUnderItsNewName) {
    const std::string device = m_bus.AddUsbDevice("1-1", "12d1", "1001");
    const std::string interface = m_bus.AddInterface(device, "1-1:1.0");
    const std::string oldPath = m_bus.AddNetworkCard(interface, "eth0");
    start();
    const std::string newPath = m_bus.AddNetworkCard(interface, "wwan0");
    Pumped();
    m_bus.SetProperty(newPath, "DEVPATH_OLD", oldPath.substr(std::string("/sys").size()));
    m_bus.Announce(newPath, "move");
    EXPECT_THAT(Pumped(), ElementsAre("-eth0"));
    EXPECT_TRUE(m_devices.knows(newPath));
}

TEST_F(UdevFeedTest, DevicesBehindAHubHangOnTheHub) {
    const std::string hub = m_bus.AddUsbDevice("1-2", "05e3", "0608", {}, {{"product", "Hub"}});
    m_bus.add("usb", "1-2.4", hub, {{"idVendor", "12d1"}, {"idProduct", "1001"}, {"product", "Modem"}},
              {{"DEVTYPE", "usb_device"}});
    start();
    EXPECT_EQ(Service("Modem")->path(), "IOService:/Hub@01000002/Modem@01000004");
    m_bus.remove(hub);
    TakeEvents();
    EXPECT_THAT(Pumped(), ElementsAre("-Modem", "-Hub"));
}

TEST_F(UdevFeedTest, ADeviceThatIsAnnouncedBeforeItsHubWaitsForIt) {
    start();
    const std::string hub = m_bus.AddUsbDevice("1-2", "05e3", "0608", {}, {{"product", "Hub"}});
    const std::string modem =
        m_bus.add("usb", "1-2.4", hub, {{"idVendor", "12d1"}, {"idProduct", "1001"}, {"product", "Modem"}},
                  {{"DEVTYPE", "usb_device"}});
    EXPECT_THAT(Pumped(), ElementsAre("+Hub", "+Modem"));
    m_devices.leaveAll();
    m_bus.Announce(modem, "add");
    EXPECT_THAT(Pumped(), IsEmpty());
    m_bus.Announce(hub, "add");
    EXPECT_THAT(Pumped(), ElementsAre("+Hub", "+Modem"));
    EXPECT_EQ(Service("Modem")->path(), "IOService:/Hub@01000002/Modem@01000004");
}

TEST_F(UdevFeedTest, LocationsComeFromBusAndPort) {
    m_bus.AddUsbDevice("usb3", "1d6b", "0002", {}, {{"product", "root"}});
    m_bus.AddUsbDevice("3-1", "12d1", "0001", {}, {{"product", "one"}});
    m_bus.AddUsbDevice("3-10", "12d1", "0010", {}, {{"product", "ten"}});
    m_bus.AddUsbDevice("mymodem", "12d1", "0011", {}, {{"product", "nameless"}});
    start();
    EXPECT_EQ(Service("root")->path(), "IOService:/root@03000000");
    EXPECT_EQ(Service("one")->path(), "IOService:/one@03000001");
    EXPECT_EQ(Service("ten")->path(), "IOService:/ten@0300000a");
    EXPECT_THAT(Service("nameless")->path().value_or(""), testing::StartsWith("IOService:/nameless@"));
}

TEST_F(UdevFeedTest, OpensNoDevice) {
    const std::string files = m_bus.Folder() + "/dev";
    mkdir(files.c_str(), 0755);
    const std::string device = m_bus.AddUsbDevice(
        "1-1", "12d1", "1001", {{"DEVNAME", "/dev/modem"}, {"MAJOR", "189"}, {"MINOR", "0"}});
    m_bus.AddPort(m_bus.AddInterface(device, "1-1:1.0"), "ttyUSB0");
    for (const char* name : {"modem", "ttyUSB0"})
        std::ofstream(files + "/" + name) << "not to be read";
    const OpenWatch watch(files);
    start();
    m_bus.Announce(device, "change");
    Pumped();
    EXPECT_THAT(IdsOf("Modem"), ElementsAre("12d1/1001"));
    EXPECT_FALSE(watch.HasSeenOne());
    std::ifstream("/dev/modem").get();
    EXPECT_TRUE(watch.HasSeenOne()) << "the watch itself works";
}
