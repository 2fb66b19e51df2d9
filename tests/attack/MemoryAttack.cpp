#include "Attack.h"

#include <climits>

using namespace Zevo;

namespace {

/// How many launchers that ran short of memory ended in which way.
struct Outcomes {
    int wentOn = 0;
    int toldDeaf = 0;    // goes on, and has traced that it will notice no device
    int toldUnknown = 0; // goes on, and has traced that it could not read its configuration
    int endedWithReport = 0;
    int endedWithWords = 0; // on standard error, before there is a trace

    int all() const { return wentOn + toldDeaf + toldUnknown + endedWithReport + endedWithWords; }
};

std::string shown(const Outcomes& outcomes) {
    return std::to_string(outcomes.all()) + " points: " + std::to_string(outcomes.wentOn) + " went on, " +
           std::to_string(outcomes.toldDeaf) + " went on and said that they see no device come, " +
           std::to_string(outcomes.toldUnknown) +
           " went on and said that they could not read their configuration, " +
           std::to_string(outcomes.endedWithReport) + " ended with a report in the trace, " +
           std::to_string(outcomes.endedWithWords) + " before there is one, with words on standard error";
}

class Memory : public Attack {
protected:
    Memory() { expectStandardError(testing::_); }

    /// Waits until the launcher has started up or ended; false if it hangs.
    bool waitForStartUp() {
        return waitUntil([this] {
            return !m_launcher->isRunning() ||
                   m_trace.text().find("<- ZevoLauncher::isDeviceFound\n") != std::string::npos;
        });
    }

    /// Counts how the launcher ended; false if it gave no reason.
    bool countEnd(Outcomes& outcomes) {
        if (m_launcher->exitStatus() == 0 && hasReport())
            ++outcomes.endedWithReport;
        else if (!m_launcher->standardError().empty() && m_trace.count("Launching ZevoLauncher") == 0)
            ++outcomes.endedWithWords;
        else
            return false;
        return true;
    }

    std::string state() {
        return "status " + std::to_string(m_launcher->exitStatus()) + ", signal " +
               std::to_string(m_launcher->endingSignal()) + "\n" + m_launcher->standardError() +
               m_trace.text();
    }

    /// The step from point to point that takes about so many of the points from 1 to the last.
    static int stepThrough(int last, int points) { return std::max(1, last / points); }

    void refuseEachAtStart(unsigned long more) {
        startWithFaults();
        const int last = static_cast<int>(m_faults.allocations());
        terminateLauncher();
        const int step = stepThrough(last, count(more == 1 ? 60 : 20, INT_MAX));
        Outcomes outcomes;
        for (int point = 1; point <= last; point += step) {
            SCOPED_TRACE("allocation " + std::to_string(point));
            m_faults.reset();
            m_faults.failAllocation(static_cast<unsigned long>(point), more);
            startWithFaultsWithoutWaiting();
            ASSERT_TRUE(waitForStartUp()) << "hangs: " << state();
            m_faults.failAllocation(0);
            if (m_trace.count(">> [E] No device that arrives or leaves from now on will be noticed.\n") != 0)
                ++outcomes.toldDeaf;
            else if (m_trace.count(">> [E] Error accessing ZevoLauncher parameters.\n") != 0)
                ++outcomes.toldUnknown;
            else if (m_launcher->isRunning() && servesAModem())
                ++outcomes.wentOn;
            else {
                ASSERT_FALSE(m_launcher->isRunning()) << "does nothing: " << state();
                ASSERT_TRUE(countEnd(outcomes)) << state();
                continue;
            }
            ASSERT_TRUE(endLauncherBySignal(15)) << state();
        }
        tellFigure(shown(outcomes));
    }
};

TEST_F(Memory, OneAllocationThatFailsAtStartUpEndsItWithItsReasonToldOrDoesNotMatter) {
    refuseEachAtStart(1);
}

TEST_F(Memory, NoAllocationFromThereOnAtStartUpEndsItWithItsReasonTold) {
    refuseEachAtStart(ULONG_MAX);
}

TEST_F(Memory, OneAllocationThatFailsAtAnArrivalEndsItWithItsReportOrDoesNotMatter) {
    startWithFaults();
    const unsigned long before = m_faults.allocations();
    ASSERT_TRUE(servesAModem());
    plugMarker();
    const int last = static_cast<int>(m_faults.allocations() - before);
    const int step = stepThrough(last, count(60, INT_MAX));
    Outcomes outcomes;
    for (int point = 1; point <= last; point += step) {
        SCOPED_TRACE("allocation " + std::to_string(point) + " of an arrival");
        if (!m_launcher->isRunning()) {
            m_faults.reset();
            startWithFaultsWithoutWaiting();
            ASSERT_TRUE(waitForStartUp() && m_launcher->isRunning()) << state();
        }
        const unsigned long failed = m_faults.failedAllocations();
        m_faults.failAllocation(m_faults.allocations() + static_cast<unsigned long>(point));
        // An arrival that fails may be lost; the next one must not be.
        while (m_launcher->isRunning() && m_faults.failedAllocations() == failed)
            ASSERT_TRUE(servesAModem() || !m_launcher->isRunning()) << state();
        m_faults.failAllocation(0);
        if (servesAModem()) {
            ++outcomes.wentOn;
            continue;
        }
        ASSERT_FALSE(m_launcher->isRunning()) << "does nothing any more: " << state();
        ASSERT_TRUE(countEnd(outcomes)) << state();
    }
    tellFigure(shown(outcomes));
}

} // namespace
