#pragma once

#include "UsbDevice.h"

#include <string>

namespace Zevo {

class SampleMachine;

/** What the installed files tell the launcher, as far as people want to hear of it. Throws std::runtime_error
   when the files do not tell. */
struct LauncherConfiguration {
    explicit LauncherConfiguration(const SampleMachine& machine);

    UsbDevice cdRom; // both as the file identifies them, with interfaces as a usual modem has them
    UsbDevice modem;
    std::string traceFile;
    std::string logFile;
};

} // namespace Zevo
