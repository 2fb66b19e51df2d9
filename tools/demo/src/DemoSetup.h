#pragma once

#include "ModemFile.h"

#include <string>

namespace Zevo {

class SampleMachine;

/// What the user wants to see.
struct DemoWishes {
    std::string modem;         ///< as zevo-sim takes devices; empty: the one that the configuration names
    std::string configuration; ///< a folder with the launcher's four files; empty: those of this source tree
    bool isOnRealBus = false;
};

/// The machine's configuration, read for the demo, and the modem to play with.
struct DemoSetup {
    /// Installs the configuration. If it is the user's own, the findings of zevo-check go to standard output.
    /// @throw std::runtime_error there is no modem to play with
    /// @throw UsageError the request is not understood
    DemoSetup(const SampleMachine& machine, const DemoWishes& wishes);

    /// Whether the launcher waits for a device with these ids.
    bool isAwaited(const UsbDevice& device) const;

    Modem modem;
    std::string awaitedModem; ///< as lsusb shows it
    std::string awaitedCdRom;
    std::string traceFile;
    std::string logFile; ///< empty if nothing is logged
};

} // namespace Zevo
