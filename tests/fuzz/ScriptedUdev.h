#pragma once

#include <deque>
#include <map>
#include <string>

/// One event or device as libudev reports it. libudev returns null for names that a map lacks.
struct ScriptedDevice {
    std::string syspath;
    std::map<std::string, std::string> properties; ///< ACTION, SUBSYSTEM, DEVTYPE and DEVNAME among them
    std::map<std::string, std::string> attributes;
    /// The paths of its parents, by "subsystem/devtype".
    std::map<std::string, std::string> parents;
};

/// The events that libudev delivers to the feed; ScriptedUdev.cpp is a stub of the library. One thread.
namespace ScriptedUdev {

/// Queues an event; one without a path is one that libudev cannot read.
void send(ScriptedDevice event);

} // namespace ScriptedUdev
