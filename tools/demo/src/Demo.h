#pragma once

#include "DemoSetup.h"
#include "LauncherProcess.h"
#include "Narrator.h"
#include "Player.h"
#include "SampleMachine.h"
#include "TextFollower.h"

#include <functional>
#include <memory>
#include <set>
#include <string>

namespace Zevo {

/// Runs the launcher on a sample machine and tells people what happens. If an expected event does not come,
/// throws std::runtime_error; on Ctrl-C, Interrupted. In either case the destructor ends every process and
/// removes every file.
class Demo : private PlayListener {
public:
    explicit Demo(const DemoWishes& wishes);
    ~Demo() override;

    /// Plays one of the scripts: a modem on a virtual bus.
    void runOn(Bus& bus);

    /// On the machine's own bus, until Ctrl-C.
    void runOnRealBus();

private:
    void startLauncher();
    void endLauncher();
    void begins(const Step& step) override;
    void ends(const Outcome& outcome) override;
    void timePasses() override { tellNews(); }
    Script chosenScript() const;
    void showFiles();

    /// Reports what happens until the condition holds. If it does not come to hold, throws with this
    /// complaint.
    void tellUntil(const std::function<bool()>& condition, const std::string& complaint);
    void tellFor(std::chrono::milliseconds duration);
    void tellNews();
    void tellTraceLine(const std::string& line);
    void tellStarts(SampleMachine::Bundle bundle);
    void requireRunningLauncher();

    Narrator m_narrator;
    SampleMachine m_machine;
    DemoSetup m_setup;
    TextFollower m_trace;
    TextFollower m_complaints; // its standard error
    std::set<pid_t> m_toldStarts;
    std::set<std::string> m_foundRunning; // bundles, not reported yet
    std::unique_ptr<LauncherProcess> m_launcher;
};

} // namespace Zevo
