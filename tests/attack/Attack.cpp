#include "Attack.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Zevo {

bool Attack::isLong() {
    const char* const form = std::getenv("ZEVO_ATTACK");
    return form != nullptr && std::strcmp(form, "long") == 0;
}

void Attack::tellFigure(const std::string& text) {
    std::printf("FIGURE %s\n", text.c_str());
    std::fflush(stdout);
}

bool Attack::hasReport() {
    return m_trace.count("-------------- CALLSTACK --------------\n") > 0 &&
           m_trace.count("-------------- OBJECT(S) COUNT --------------\n") > 0;
}

bool Attack::servesAModem() {
    const char PORT[] = "3-1";
    const int before[] = {startCount(Bundle::mainApplication), startCount(Bundle::notifier)};
    const auto areStarted = [&] {
        return startCount(Bundle::mainApplication) > before[0] && startCount(Bundle::notifier) > before[1];
    };
    // More than once: an application that is about to quit still counts as running.
    for (int attempt = 0; attempt < 5 && m_launcher->isRunning() && !areStarted(); ++attempt) {
        if (!m_machine.quitApplications())
            return false;
        m_bus.plug(PORT, m_modem.modem);
        waitUntil([&] { return areStarted() || !m_launcher->isRunning(); }, std::chrono::seconds(4));
        m_bus.unplug(PORT);
    }
    return m_launcher->isRunning() && areStarted();
}

void Attack::expectServesAModem() {
    EXPECT_TRUE(servesAModem()) << m_launcher->standardError() << m_trace.text();
}

void Attack::TearDown() {
    if (m_launcher && m_launcher->isRunning())
        terminateLauncher();
    EXPECT_TRUE(m_machine.quitApplications());
    expectStarts(startCount(Bundle::mainApplication), startCount(Bundle::notifier));
    LauncherTest::TearDown();
}

} // namespace Zevo
