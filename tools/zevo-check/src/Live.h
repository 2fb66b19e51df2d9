#pragma once

#include "Check.h"

#include <ctime>
#include <string>
#include <sys/types.h>
#include <vector>

namespace Zevo {

/// A connected USB device.
struct LiveDevice {
    int vendor = 0;
    int product = 0;
    std::string name;       ///< as the device reports it; may be empty
    std::string hardwareId; ///< as the launcher gets it
    // Which configured identifiers it matches.
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

/// The existing files of a ring.
struct LiveRing {
    std::string baseName; ///< up to "_0.txt"; empty: off, or no files
    int files = 0;
    std::vector<std::string> paths; ///< in no order
    std::uint64_t bytes = 0;
    std::time_t lastWritten = 0; ///< 0: never
};

/// A process that holds the lock of the log folder, or waits for it.
struct LiveLauncher {
    pid_t process = 0;
    std::time_t since = 0; ///< 0: unknown
    std::string program;   ///< empty: unknown
    bool isWaiting = false;
};

/// The state of this machine at this moment.
struct Live {
    std::vector<LiveDevice> devices;
    bool hearsOfHotPlug = false;
    std::vector<LiveApplication> applications;
    LiveRing trace;
    LiveRing log;
    std::vector<LiveLauncher> launchers;
};

/// The connected USB devices, and what they are in this configuration. Sorted by ids.
std::vector<LiveDevice> connectedDevices(const HardwareIds& ids);

/// Checks the machine as the launcher does, and adds to `result` what is wrong there. Changes nothing, and
/// takes no lock that a launcher might want. Main thread only.
Live lookAtMachine(const CheckOptions& options, CheckResult& result);

} // namespace Zevo
