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

/// The launcher at work on a sample machine, and what people are told about it. What should happen and does
/// not is thrown as std::runtime_error; Ctrl-C as Interrupted. Either way the end of this object ends every
/// process and removes every file.
class Demo : private PlayListener {
public:
    explicit Demo(const DemoWishes& wishes);
    ~Demo() override;

    /// A modem's life on a bus, as one of the scripts tells it.
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

    /// Tells what happens until the condition holds; throws with this complaint when it does not come to
    /// hold.
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
    std::set<std::string> m_foundRunning; // bundles, not told of yet
    std::unique_ptr<LauncherProcess> m_launcher;
};

} // namespace Zevo
