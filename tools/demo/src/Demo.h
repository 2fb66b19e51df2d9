#pragma once

#include "LauncherConfiguration.h"
#include "LauncherProcess.h"
#include "Narrator.h"
#include "SampleMachine.h"
#include "TextFollower.h"

#include <functional>
#include <memory>
#include <set>
#include <string>

namespace Zevo {

class VirtualUsbBus;

/** The launcher at work on a sample machine, and what people are told about it. What should happen and does
   not is thrown as std::runtime_error; Ctrl-C as Interrupted. Either way the end of this object ends every
   process and removes every file. */
class Demo {
public:
    Demo();
    ~Demo();

    /** A modem's life on the virtual bus: plugged in, switched, unplugged. */
    void runOn(VirtualUsbBus& bus);

    /** On the machine's own bus, until Ctrl-C. */
    void runOnRealBus();

private:
    void startLauncher();
    void endLauncher();
    void plugCdRom(VirtualUsbBus& bus);
    void switchToModem(VirtualUsbBus& bus);
    void unplug(VirtualUsbBus& bus);
    void showFiles();

    /** Tells what happens until the condition holds; throws with this complaint when it does not come to
     * hold. */
    void tellUntil(const std::function<bool()>& condition, const std::string& complaint);
    void tellFor(std::chrono::milliseconds duration);
    void tellNews();
    void tellTraceLine(const std::string& line);
    void tellStarts(SampleMachine::Bundle bundle);
    void requireRunningLauncher();
    bool bothRun() const;

    Narrator m_narrator;
    SampleMachine m_machine;
    LauncherConfiguration m_configuration;
    TextFollower m_trace;
    TextFollower m_complaints; // its standard error
    std::set<pid_t> m_toldStarts;
    std::set<std::string> m_foundRunning; // bundles, not told of yet
    std::unique_ptr<LauncherProcess> m_launcher;
};

} // namespace Zevo
