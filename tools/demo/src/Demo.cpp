#include "Demo.h"

#include "FindingText.h"
#include "Interruption.h"
#include "PlayReport.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace Zevo {
namespace {

typedef SampleMachine::Bundle Bundle;

const std::chrono::milliseconds GLANCE(50);
const std::chrono::milliseconds READING_TIME(3000);

/// The part of the line behind this text; empty if the line does not contain it.
std::string behind(const std::string& line, const std::string& text) {
    const std::string::size_type at = line.find(text);
    return at == std::string::npos ? std::string() : line.substr(at + text.size());
}

/// Thrown out of a script when no statement of it is wrong.
struct LauncherGone {
    std::string what;
};

/// Takes over the launcher's environment, because applications and logs are looked up here as well.
const SampleMachine& entered(const SampleMachine& machine) {
    for (const std::string& entry : machine.environment()) {
        const std::string::size_type equals = entry.find('=');
        setenv(entry.substr(0, equals).c_str(), entry.substr(equals + 1).c_str(), 1);
    }
    return machine;
}

} // namespace

Demo::Demo(const DemoWishes& wishes)
    : m_setup(entered(m_machine), wishes), m_trace(m_setup.traceFile), m_complaints(m_machine.errorFile()) {}

Demo::~Demo() = default;

void Demo::runOn(Bus& bus) {
    const Script script = chosenScript();
    try {
        startLauncher();
        const std::vector<Outcome> outcomes = Player(bus, *this).play(script);
        showFiles();
        endLauncher();
        if (std::any_of(outcomes.begin(), outcomes.end(),
                        [](const Outcome& outcome) { return !outcome.isMet; }))
            throw std::runtime_error("What should have happened did not; see above.");
    } catch (const LauncherGone& gone) {
        throw std::runtime_error(gone.what);
    }
}

Script Demo::chosenScript() const {
    const bool isSwitched = m_setup.modem.cdRom.isKnown() && m_setup.modem.modem.isKnown();
    const UsbDevice& last = isSwitched ? m_setup.modem.modem : m_setup.modem.first();
    const std::string stick = m_machine.folder() + "/stick.modem";
    writeTextFile(stick, modemFileText(m_setup.modem));
    // No long waits for an event that will not come.
    const bool isHopeless = !m_setup.isAwaited(m_setup.modem.first());
    const Script script =
        readScript(std::string(ZEVO_DEMO_SCRIPTS) + (isSwitched ? "/switched-modem.sim" : "/plain-modem.sim"),
                   {{"cdrom", shortIdentifier(m_setup.modem.first())},
                    {"modem", shortIdentifier(last)},
                    {"stick", stick},
                    {"trace", m_setup.traceFile},
                    {"running", "Executable already running : " + SampleMachine::pathOf(Bundle::notifier)},
                    {"removed", hardwareIdentifier(last)},
                    {"patience", isHopeless ? "3s" : "20s"}},
                   {});
    if (!script.findings.empty())
        throw std::runtime_error(sentence(script.findings.front(), Colours(false)));
    return script;
}

void Demo::begins(const Step& step) {
    if (step.kind != Step::Kind::say)
        return;
    m_narrator.beginStep();
    m_narrator.say(step.words);
}

void Demo::ends(const Outcome& outcome) {
    tellNews();
    if (!outcome.isMet)
        m_narrator.say(complaintText(outcome, Colours(takesColours(stdout))));
}

void Demo::runOnRealBus() {
    try {
        startLauncher();
        m_narrator.say("Plug in " + m_setup.awaitedModem + " (the modem) or " + m_setup.awaitedCdRom +
                       " (its CD-ROM); Ctrl-C ends this.");
        for (;;)
            tellFor(READING_TIME);
    } catch (const Interrupted&) {
        m_narrator.say("Ctrl-C.");
        endLauncher();
    } catch (const LauncherGone& gone) {
        throw std::runtime_error(gone.what);
    }
}

void Demo::startLauncher() {
    m_narrator.say("A machine for this run only: " + m_machine.folder());
    m_launcher = std::make_unique<LauncherProcess>(m_machine);
    m_narrator.say("The launcher starts (process " + std::to_string(m_launcher->pid()) + ").");
    tellUntil([this] { return m_trace.count("hardware id to be found : ") > 0; },
              "The launcher does not get ready.");
    m_narrator.say("The launcher is ready. It waits for the modem " + m_setup.awaitedModem +
                   " and for its CD-ROM personality " + m_setup.awaitedCdRom + ".");
    for (const UsbDevice* const device : {&m_setup.modem.cdRom, &m_setup.modem.modem})
        if (device->isKnown() && !m_setup.isAwaited(*device))
            m_narrator.say("Nothing will be started for " + shortIdentifier(*device) +
                           ", which this modem shows: Launcher.cfg does not name it.");
}

void Demo::showFiles() {
    m_narrator.quoteTail("The end of the trace, " + m_setup.traceFile + ":", m_trace.text(), 24);
    if (!m_setup.logFile.empty())
        m_narrator.quoteTail("The log, " + m_setup.logFile + ":", readTextFile(m_setup.logFile), 12);
}

void Demo::endLauncher() {
    requireRunningLauncher();
    m_launcher->sendSignal(SIGTERM);
    if (!m_launcher->waitForEnd())
        throw std::runtime_error("The launcher does not end.");
    if (m_launcher->exitStatus() != 0)
        throw std::runtime_error("The launcher ended with status " +
                                 std::to_string(m_launcher->exitStatus()) + ".");
    m_narrator.say("The launcher was told to terminate and has ended with status 0.");
    if (!m_machine.quitApplications())
        throw std::runtime_error("An application does not quit.");
    m_narrator.say("The applications have quit. The machine is removed.");
}

void Demo::tellUntil(const std::function<bool()>& condition, const std::string& complaint) {
    const auto deadline = std::chrono::steady_clock::now() + LONGEST_WAIT;
    while (!condition()) {
        tellNews();
        if (std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error(complaint + "\n" + m_launcher->standardError() + m_trace.text());
        waitOrThrow(GLANCE);
    }
    tellNews();
}

void Demo::tellFor(std::chrono::milliseconds duration) {
    const auto end = std::chrono::steady_clock::now() + duration;
    while (std::chrono::steady_clock::now() < end) {
        tellNews();
        waitOrThrow(GLANCE);
    }
}

void Demo::requireRunningLauncher() {
    if (!m_launcher->isRunning())
        throw LauncherGone{"The launcher has ended by itself, with status " +
                           std::to_string(m_launcher->exitStatus()) + ".\n" + m_launcher->standardError() +
                           m_trace.text()};
}

void Demo::tellNews() {
    requireRunningLauncher();
    for (std::string line; m_trace.nextLine(line);)
        tellTraceLine(line);
    for (std::string line; m_complaints.nextLine(line);)
        m_narrator.say("The launcher says: " + line);
    for (const Bundle bundle : {Bundle::mainApplication, Bundle::notifier})
        tellStarts(bundle);
}

void Demo::tellTraceLine(const std::string& line) {
    const std::string arrival = behind(line, "Detected hardware id : ");
    const std::string removal = behind(line, ">> [D] HID = ");
    const std::string running = behind(line, "Executable already running : ");
    const std::string failure = behind(line, " failed : status = ");
    if (!arrival.empty())
        m_narrator.sayOnce("The launcher sees " + arrival + " arrive.");
    if (!removal.empty())
        m_narrator.sayOnce("The launcher sees " + removal.substr(0, removal.size() - 1) + " leave.");
    if (!running.empty())
        m_foundRunning.insert(running);
    if (!failure.empty())
        m_narrator.sayOnce("Trouble in the trace: " + line);
}

void Demo::tellStarts(Bundle bundle) {
    for (const StartReport& start : m_machine.startsOf(bundle)) {
        if (!m_toldStarts.insert(start.pid()).second)
            continue;
        const std::vector<std::string> variables = start.values("environment");
        const bool isHidden =
            std::find(variables.begin(), variables.end(), "PLATFORM_LAUNCH_HIDDEN=1") != variables.end();
        m_narrator.say(std::string(isHidden ? "Started hidden: " : "Started: ") +
                       SampleMachine::pathOf(bundle) + " (process " + std::to_string(start.pid()) + ")");
    }
    // The launcher may have found it running before the application could report its start.
    if (!m_machine.startsOf(bundle).empty() && m_foundRunning.erase(SampleMachine::pathOf(bundle)) != 0)
        m_narrator.sayOnce("It runs already and is not started again: " + SampleMachine::pathOf(bundle));
}

} // namespace Zevo
