#pragma once

#include "Check.h"

#include <ctime>
#include <string>
#include <sys/types.h>
#include <vector>

namespace Zevo {

/// A USB device that is connected now.
struct LiveDevice {
    int vendor = 0;
    int product = 0;
    std::string name;       ///< as the device tells it; may be empty
    std::string hardwareId; ///< as the launcher gets it
    // What of the configuration it matches.
    bool isModem = false;
    bool isCdRom = false;
    bool isModemToFind = false;
};

/// One of the applications that the launcher starts.
struct LiveApplication {
    std::string path;
    bool canBeStarted = false;
    std::vector<pid_t> processes; ///< that run it
};

/// The files of a ring that are there.
struct LiveRing {
    std::string baseName; ///< up to "_0.txt"; empty: off, or no files
    int files = 0;
    std::vector<std::string> paths; ///< in no order
    std::uint64_t bytes = 0;
    std::time_t lastWritten = 0; ///< 0: never
};

/// A process that holds the log folder's lock, or waits for it.
struct LiveLauncher {
    pid_t process = 0;
    std::time_t since = 0; ///< 0: not known
    std::string program;   ///< empty: not known
    bool isWaiting = false;
};

/// What is true of this machine at this moment.
struct Live {
    std::vector<LiveDevice> devices;
    bool hearsOfHotPlug = false;
    std::vector<LiveApplication> applications;
    LiveRing trace;
    LiveRing log;
    std::vector<LiveLauncher> launchers;
};

/// The USB devices that are connected, and what they are in this configuration. In the order of their ids.
std::vector<LiveDevice> connectedDevices(const HardwareIds& ids);

/// Looks at the machine as the launcher does, and says in `result` what is wrong there. Changes nothing, and takes no
/// lock that a launcher might want. Main thread only.
Live lookAtMachine(const CheckOptions& options, CheckResult& result);

} // namespace Zevo
