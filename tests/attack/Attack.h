#pragma once

#include "Faults.h"
#include "LauncherTest.h"

#include <string>

namespace Zevo {

/// One fault of the machine while the real launcher runs. The short form takes seconds and is one of the
/// tests; the long form (ZEVO_ATTACK=long, which `./zevo attack NAME` sets) takes minutes and tries every
/// case.
class Attack : public LauncherTest {
protected:
    Attack() : m_faults(m_machine.folder()) {}
    /// Accepts any number of application starts.
    void TearDown() override;

    static bool isLong();
    /// The number for the form that runs.
    static int count(int ofShortForm, int ofLongForm) { return isLong() ? ofLongForm : ofShortForm; }
    /// Prints one line about what the attack measured, for people.
    static void tellFigure(const std::string& text);

    /// Starts the launcher so that m_faults controls its faults.
    void startWithFaults() {
        startLauncher(m_faults.environment());
        ASSERT_GT(m_faults.allocations(), 0u) << "the launcher knows nothing of its faults";
    }
    void startWithFaultsWithoutWaiting() { startLauncherWithoutWaiting(m_faults.environment()); }

    /// Whether the trace holds a crash report: call stacks and object counts.
    bool hasReport();
    /// Makes the applications quit, plugs the modem in and out; true if that started both.
    bool servesAModem();
    /// Expects servesAModem(), and shows standard error and the trace if not.
    void expectServesAModem();

    Faults m_faults;
};

} // namespace Zevo
