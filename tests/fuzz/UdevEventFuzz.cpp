#include "FuzzInput.h"
#include "Require.h"
#include "ScriptedUdev.h"
#include "udev/UdevFeed.h"

#include <set>

// The input is udev events, each a few lines of text: "p=/sys/devices/usb1/1-1" is the path, "P=..." and
// "Q=..." are parents' paths; a lower-case letter names a property ("a=add"), an upper-case one an attribute.
// An empty line ends the event. After any events each service has a path of its own, and when all devices
// have left, the registry is as at first.

using namespace LinuxPlatform;

namespace {

void addTo(ScriptedDevice& event, const std::string& line) {
    if (line.size() < 2 || line[1] != '=')
        return;
    const std::string value = line.substr(2, line.find('\0', 2) - 2);
    switch (line[0]) {
    case 'p':
        event.syspath = value;
        break;
    case 'P':
        event.parents["usb/usb_device"] = value;
        break;
    case 'Q':
        event.parents["usb/usb_interface"] = value;
        break;
    case 'a':
        event.properties["ACTION"] = value;
        break;
    case 's':
        event.properties["SUBSYSTEM"] = value;
        break;
    case 't':
        event.properties["DEVTYPE"] = value;
        break;
    case 'n':
        event.properties["DEVNAME"] = value;
        break;
    case 'r':
        event.properties["PRODUCT"] = value;
        break;
    case 'd':
        event.properties["DEVNUM"] = value;
        break;
    case 'i':
        event.properties["IFINDEX"] = value;
        break;
    case 'o':
        event.properties["DEVPATH_OLD"] = value;
        break;
    case 'V':
        event.attributes["idVendor"] = value;
        break;
    case 'I':
        event.attributes["idProduct"] = value;
        break;
    case 'N':
        event.attributes["product"] = value;
        break;
    case 'D':
        event.attributes["devnum"] = value;
        break;
    default:
        break;
    }
}

/// Each service of the registry has a path of its own, below the root.
void checkPaths(const Registry& registry) {
    std::set<std::string> paths;
    for (const auto& [id, service] : registry.services()) {
        const std::optional<std::string> path = service->path();
        require(path.has_value() && path->rfind("IOService:/", 0) == 0);
        require(paths.insert(*path).second);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    Registry registry;
    DeviceTree devices(registry);
    const std::size_t atFirst = registry.services().size();
    UdevFeed feed;
    feed.start(devices);
    while (!input.isEmpty()) {
        ScriptedDevice event;
        for (std::string line = input.line(); !line.empty(); line = input.line())
            addTo(event, line);
        ScriptedUdev::send(std::move(event));
        feed.pump(devices);
        require(feed.hears());
    }
    checkPaths(registry);
    devices.leaveAll();
    require(registry.services().size() == atFirst);
    return 0;
}
