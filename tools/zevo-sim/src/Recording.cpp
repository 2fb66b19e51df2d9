#include "Recording.h"

#include "DeviceChoice.h"
#include "Pseudonyms.h"
#include "Tool.h"
#include "VirtualUsbBus.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <memory>
#include <sys/utsname.h>

namespace Zevo {
namespace {

const char USB_DEVICES[] = "/sys/bus/usb/devices";
constexpr unsigned HUB_CLASS = 0x09;
constexpr unsigned STORAGE_CLASS = 0x08;

std::vector<std::string> entriesOf(const std::string& folder) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(folder.c_str()), &closedir);
    while (const dirent* const entry = listing ? readdir(listing.get()) : nullptr)
        if (entry->d_name[0] != '.')
            names.push_back(entry->d_name);
    std::sort(names.begin(), names.end());
    return names;
}

/// The first line of an attribute, without surrounding blanks; empty if there is none.
std::string attribute(const std::string& folder, const char* name) {
    std::ifstream file(folder + "/" + name);
    std::string line;
    std::getline(file, line);
    const std::size_t first = line.find_first_not_of(" \t");
    return first == std::string::npos ? "" : line.substr(first, line.find_last_not_of(" \t\r") - first + 1);
}

unsigned hexadecimal(const std::string& text) {
    return static_cast<unsigned>(std::strtoul(text.c_str(), nullptr, 16));
}

std::string driverOf(const std::string& folder) {
    std::ifstream file(folder + "/uevent");
    static const std::string NAME = "DRIVER=";
    for (std::string line; std::getline(file, line);)
        if (line.compare(0, NAME.size(), NAME) == 0)
            return line.substr(NAME.size());
    return {};
}

std::string withoutNumber(const std::string& name) {
    return name.substr(0, name.find_last_not_of("0123456789") + 1);
}

/// What a driver created: tty/ttyACM0 and net/wwan0 below the interface, or ttyUSB0/tty/ttyUSB0.
void addFunctions(const std::string& folder, UsbInterface& interface) {
    for (const std::string& entry : entriesOf(folder)) {
        if (entry == "tty" || entry == "net")
            for (const std::string& name : entriesOf(folder + "/" + entry))
                interface.functions.push_back({entry, withoutNumber(name)});
        else
            for (const std::string& name : entriesOf(folder + "/" + entry + "/tty"))
                interface.functions.push_back({"tty", withoutNumber(name)});
    }
}

UsbInterface interfaceAt(const std::string& folder) {
    UsbInterface interface;
    interface.usbClass = hexadecimal(attribute(folder, "bInterfaceClass"));
    interface.subClass = hexadecimal(attribute(folder, "bInterfaceSubClass"));
    interface.protocol = hexadecimal(attribute(folder, "bInterfaceProtocol"));
    interface.driver = driverOf(folder);
    if (!interface.driver.empty())
        addFunctions(folder, interface);
    return interface;
}

UsbDevice deviceAt(const std::string& port, const std::vector<std::string>& entries) {
    const std::string folder = std::string(USB_DEVICES) + "/" + port;
    UsbDevice device;
    device.vendor = hexadecimal(attribute(folder, "idVendor"));
    device.product = hexadecimal(attribute(folder, "idProduct"));
    device.productText = attribute(folder, "product");
    device.manufacturer = attribute(folder, "manufacturer");
    device.serial = attribute(folder, "serial");
    const std::string release = attribute(folder, "bcdDevice");
    if (!release.empty())
        device.release = release;
    for (const std::string& entry : entries)
        if (entry.compare(0, port.size() + 1, port + ":") == 0)
            device.interfaces.push_back(interfaceAt(std::string(USB_DEVICES) + "/" + entry));
    return device;
}

bool isHub(const UsbDevice& device) {
    return !device.interfaces.empty() && device.interfaces.front().usbClass == HUB_CLASS;
}

bool isStorageOnly(const UsbDevice& device) {
    return !device.interfaces.empty() &&
           std::all_of(
               device.interfaces.begin(), device.interfaces.end(),
               [](const UsbInterface& interface) { return interface.usbClass == STORAGE_CLASS; });
}

bool shows(const UsbDevice& device, const UsbIds& ids) {
    return shortIdentifier(device) == shownIds(ids);
}

bool isKnownModem(const UsbDevice& device, const std::vector<KnownModem>& database) {
    return std::any_of(
        database.begin(), database.end(),
        [&device](const KnownModem& known) {
            return shows(device, known.cdRom) || std::any_of(
                                                     known.modems.begin(), known.modems.end(),
                                                     [&](const UsbIds& ids) { return shows(device, ids); });
        });
}

std::string listOf(const std::vector<SeenDevice>& devices) {
    std::string text;
    for (const SeenDevice& seen : devices)
        text +=
            fmt::format("\n  {:<8} {}  {}", seen.port, shortIdentifier(seen.device), seen.device.productText);
    return text;
}

Modem asModem(const SeenDevice& seen, const std::vector<KnownModem>& database, std::string& remark) {
    Modem modem = chooseDevice(shortIdentifier(seen.device), database);
    const bool isCdRom = isStorageOnly(seen.device);
    const UsbDevice& other = isCdRom ? modem.modem : modem.cdRom;
    const bool knowsOther = modem.cdRom.isKnown() && other.isKnown();
    remark = knowsOther
                 ? fmt::format("# [{}] was not seen; it is what usb-modeswitch-data says.\n",
                               isCdRom ? "modem" : "cdrom")
                 : fmt::format("# Only this personality was seen, and usb-modeswitch-data knows no other.\n");
    if (!knowsOther)
        modem.cdRom = modem.modem = UsbDevice();
    (isCdRom ? modem.cdRom : modem.modem) = seen.device;
    if (modem.name.empty())
        modem.name = seen.device.productText;
    return modem;
}

/// Some devices repeat their serial number in a name. The serial number itself is changed so that the
/// pseudonyms replace all of it.
Modem withoutSerialInTexts(Modem modem) {
    static constexpr std::size_t SHORTEST = 4;
    for (UsbDevice* const device : {&modem.cdRom, &modem.modem}) {
        if (device->serial.empty())
            continue;
        Pseudonyms names;
        names.addName(device->serial, "serial");
        for (std::string* const text : {&modem.name, &device->productText, &device->manufacturer})
            *text = names.replaceIn(*text);
        for (char& c : device->serial)
            c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
        device->serial.insert(0, SHORTEST - std::min(SHORTEST, device->serial.size()), '0');
    }
    return modem;
}

} // namespace

std::vector<SeenDevice> seenDevices() {
    std::vector<SeenDevice> devices;
    const std::vector<std::string> entries = entriesOf(USB_DEVICES);
    for (const std::string& entry : entries) {
        if (!VirtualUsbBus::isPort(entry))
            continue; // a root hub, or an interface
        const UsbDevice device = deviceAt(entry, entries);
        if (device.isKnown() && !isHub(device))
            devices.push_back({entry, device});
    }
    return devices;
}

SeenDevice chooseSeen(const std::string& text, const std::vector<SeenDevice>& devices,
                      const std::vector<KnownModem>& database) {
    std::vector<std::string> ids;
    if (!text.empty() && !VirtualUsbBus::isPort(text))
        ids = idsOf(chooseDevice(text, database));
    std::vector<SeenDevice> found;
    std::copy_if(devices.begin(), devices.end(), std::back_inserter(found), [&](const SeenDevice& seen) {
        if (text.empty())
            return isKnownModem(seen.device, database);
        return seen.port == text ||
               std::find(ids.begin(), ids.end(), shortIdentifier(seen.device)) != ids.end();
    });
    if (found.size() == 1)
        return found.front();
    if (devices.empty())
        throw UsageError("no USB device is plugged in");
    if (found.size() > 1)
        throw UsageError("several devices may be meant; name the port:" + listOf(found));
    throw UsageError(
        (text.empty()
             ? "none of the plugged-in devices is a modem that usb-modeswitch-data knows; name its ids "
               "or its port:"
             : text + " is not plugged in; there is:") +
        listOf(devices));
}

std::string recordingOf(const SeenDevice& seen, const std::vector<KnownModem>& database) {
    std::string remark;
    const Modem modem = asModem(seen, database, remark);
    utsname system = {};
    uname(&system);
    Pseudonyms pseudonyms;
    const std::string text = pseudonyms.replaceIn(modemFileText(withoutSerialInTexts(modem)));
    return fmt::format("# Recorded by {} at port {}, {} {}.\n{}# Replaced by pseudonyms: {}.\n{}",
                       versionText("zevo-sim"), seen.port, system.sysname, system.release, remark,
                       pseudonyms.count(), text);
}

} // namespace Zevo
