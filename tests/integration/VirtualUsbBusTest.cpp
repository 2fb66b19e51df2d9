#include "VirtualUsbBus.h"

#include "EventRecorder.h"
#include "ModemFile.h"

#include <fstream>
#include <gmock/gmock.h>
#include <stdexcept>
#include <sys/stat.h>

using namespace Zevo;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

Modem compositeModem() {
    return readModemFile(ZEVO_MODEMS "/composite.modem");
}

std::string attribute(const std::string& sysPath, const char* name) {
    udev* context = udev_new();
    udev_device* device = udev_device_new_from_syspath(context, sysPath.c_str());
    const char* value = device ? udev_device_get_sysattr_value(device, name) : nullptr;
    const std::string result = value ? value : "";
    udev_device_unref(device);
    udev_unref(context);
    return result;
}

const char PORT_1_1[] = "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-1";

TEST(VirtualUsbBus, ShowsADeviceWithItsIdentifiers) {
    VirtualUsbBus bus;
    bus.plug("1-1", makePlainDevice(0x12d1, 0x0001));
    EXPECT_EQ(attribute(PORT_1_1, "idVendor"), "12d1");
    EXPECT_EQ(attribute(PORT_1_1, "idProduct"), "0001");
}

TEST(VirtualUsbBus, AnnouncesADeviceBeforeItsInterfacesAndBindsItLast) {
    VirtualUsbBus bus;
    EventRecorder recorder;
    bus.plug("1-1", makeCdRom(0x12d1, 0x1446));
    EXPECT_THAT(recorder.waitFor(4),
                ElementsAre("add usb 1-1", "add usb 1-1:1.0", "bind usb 1-1:1.0", "bind usb 1-1"));
}

TEST(VirtualUsbBus, RemovesChildrenBeforeTheirParents) {
    VirtualUsbBus bus;
    EventRecorder recorder;
    UsbDevice modem = makePlainDevice(0x12d1, 0x1001);
    modem.interfaces[0].driver = "option";
    modem.interfaces[0].functions = {{"tty", "ttyUSB"}};
    bus.plug("1-1", modem);
    recorder.waitFor(6);
    recorder.forget();
    bus.unplug("1-1");
    EXPECT_THAT(recorder.waitFor(6),
                ElementsAre("remove tty ttyUSB0", "remove usb-serial ttyUSB0", "unbind usb 1-1:1.0",
                            "remove usb 1-1:1.0", "unbind usb 1-1", "remove usb 1-1"));
}

TEST(VirtualUsbBus, LeavesNothingOfAnUnpluggedDevice) {
    VirtualUsbBus bus;
    bus.plug("1-1", compositeModem().modem);
    bus.unplug("1-1");
    EXPECT_THAT(enumerate("usb"), ElementsAre("/sys/devices/pci0000:00/0000:00:14.0/usb1"));
    EXPECT_THAT(enumerate("tty"), IsEmpty());
    EXPECT_THAT(enumerate("net"), IsEmpty());
}

TEST(VirtualUsbBus, SwitchedModemComesBackOnItsPort) {
    VirtualUsbBus bus;
    const Modem modem = compositeModem();
    bus.plug("1-1", modem.cdRom);
    bus.switchMode("1-1", modem.modem);
    EXPECT_EQ(attribute(PORT_1_1, "idProduct"), "0167");
    EXPECT_EQ(enumerate("tty").size(), 3u);
    EXPECT_EQ(enumerate("net").size(), 1u);
}

TEST(VirtualUsbBus, GivesFunctionsTheLowestFreeNumber) {
    VirtualUsbBus bus;
    const Modem modem = compositeModem();
    bus.plug("1-1", modem.modem);
    bus.plug("1-10", modem.modem);
    bus.unplug("1-1");
    bus.plug("2-3", modem.modem);
    EXPECT_THAT(enumerate("net"), ElementsAre(HasSubstr("/usb1/1-10/1-10:1.3/net/usb1"),
                                              HasSubstr("/usb2/2-3/2-3:1.3/net/usb0")));
}

TEST(VirtualUsbBus, DeviceBehindAHubLiesBelowTheHub) {
    VirtualUsbBus bus;
    bus.plug("1-1", makePlainDevice(0x05e3, 0x0608));
    bus.plug("1-1.4", makePlainDevice(0x12d1, 0x1001));
    EXPECT_EQ(attribute(std::string(PORT_1_1) + "/1-1.4", "idVendor"), "12d1");
}

TEST(VirtualUsbBus, KnowsWhatIsPluggedInAndTheFirstFreePort) {
    VirtualUsbBus bus;
    EXPECT_EQ(bus.freePort(), "1-1");
    bus.plug("1-1", makePlainDevice(1, 2));
    bus.plug("1-3", makePlainDevice(3, 4));
    EXPECT_EQ(bus.freePort(), "1-2");
    ASSERT_EQ(bus.devices().size(), 2u);
    EXPECT_EQ(shortIdentifier(bus.devices().at("1-3")), "0003:0004");
    bus.unplug("1-1");
    EXPECT_EQ(bus.freePort(), "1-1");
    EXPECT_EQ(bus.devices().count("1-1"), 0u);
}

TEST(VirtualUsbBus, ShowsWhatADeviceTellsOfItself) {
    VirtualUsbBus bus;
    UsbDevice device = makePlainDevice(0x12d1, 0x0001);
    device.manufacturer = "Somebody";
    device.serial = "0123";
    device.release = "0102";
    bus.plug("1-1", device);
    EXPECT_EQ(attribute(PORT_1_1, "manufacturer"), "Somebody");
    EXPECT_EQ(attribute(PORT_1_1, "serial"), "0123");
    EXPECT_EQ(attribute(PORT_1_1, "bcdDevice"), "0102");
}

TEST(VirtualUsbBus, RefusesATakenPortAnEmptyPortAndANameThatIsNoPort) {
    VirtualUsbBus bus;
    bus.plug("1-1", makePlainDevice(1, 2));
    EXPECT_THROW(bus.plug("1-1", makePlainDevice(1, 2)), std::runtime_error);
    EXPECT_THROW(bus.unplug("1-2"), std::runtime_error);
    for (const char* const name :
         {"first", "1", "1-", "-1", "0-1", "1-0", "1-1.", "1-1..2", "1-1.x", "1 -1", "1000-1"})
        EXPECT_THROW(bus.plug(name, makePlainDevice(1, 2)), std::runtime_error) << name;
}

TEST(VirtualUsbBus, CountsTheEventsThatItSends) {
    VirtualUsbBus bus;
    EventRecorder recorder;
    const unsigned long before = bus.eventCount();
    bus.plug("1-1", compositeModem().modem);
    bus.unplug("1-1");
    const unsigned long sent = bus.eventCount() - before;
    bus.plug("1-2", makePlainDevice(1, 2));
    EXPECT_THAT(recorder.waitFor(sent + 1)[sent], "add usb 1-2");
}

TEST(VirtualUsbBus, FolderIsGoneWithTheBus) {
    std::string folder;
    {
        VirtualUsbBus bus;
        folder = bus.folder();
        struct stat status;
        EXPECT_EQ(stat(folder.c_str(), &status), 0);
    }
    struct stat status;
    EXPECT_NE(stat(folder.c_str(), &status), 0);
}

} // namespace
