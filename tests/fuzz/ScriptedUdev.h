#pragma once

#include <deque>
#include <map>
#include <string>

/// One event or device as libudev tells it. What a map does not hold, udev does not know.
struct ScriptedDevice {
    std::string syspath;
    std::map<std::string, std::string> properties; ///< ACTION, SUBSYSTEM, DEVTYPE and DEVNAME among them
    std::map<std::string, std::string> attributes;
    /// The paths of its parents, by "subsystem/devtype".
    std::map<std::string, std::string> parents;
};

/// The events that libudev has for the feed; ScriptedUdev.cpp stands in for the library. One thread.
namespace ScriptedUdev {

/// The next event; without a path one that libudev cannot read.
void send(ScriptedDevice event);

} // namespace ScriptedUdev
