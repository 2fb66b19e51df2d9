#pragma once

#include "Faults.h"
#include "LauncherTest.h"

#include <string>

namespace Zevo {

/// One fault of a machine, in a real run. In its short form an attack takes seconds and belongs to the tests; in its long
/// form (ZEVO_ATTACK=long, as `./zevo attack` sets it) it takes minutes and goes through everything.
class Attack : public LauncherTest {
protected:
    Attack() : m_faults(m_machine.folder()) {}
    /// How often applications were started is not what an attack is about.
    void TearDown() override;

    static bool isLong();
    /// As many as the form asks for.
    static int count(int ofShortForm, int ofLongForm) { return isLong() ? ofLongForm : ofShortForm; }
    /// What the attack measured, for people: one line.
    static void tellFigure(const std::string& text);

    /// The launcher, whose faults are this test's.
    void startWithFaults() {
        startLauncher(m_faults.environment());
        ASSERT_GT(m_faults.allocations(), 0u) << "the launcher knows nothing of its faults";
    }
    void startWithFaultsWithoutWaiting() { startLauncherWithoutWaiting(m_faults.environment()); }

    /// Whether the trace ends with a cause, the stacks and the counts.
    bool hasReport();
    /// A modem comes and goes, and both applications are started for it.
    bool servesAModem();
    /// The same, in the words of a test.
    void expectServesAModem();

    Faults m_faults;
};

} // namespace Zevo
