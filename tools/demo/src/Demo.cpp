#include "Demo.h"

#include "Interruption.h"
#include "VirtualUsbBus.h"

#include <algorithm>
#include <csignal>
#include <stdexcept>

namespace Zevo {
namespace {

typedef SampleMachine::Bundle Bundle;

const char PORT[] = "1-1";
const std::chrono::milliseconds GLANCE(50);
const std::chrono::milliseconds READING_TIME(3000);

/** What stands behind this text in the line; empty when the line does not hold it. */
std::string behind(const std::string& line, const std::string& text) {
    const std::string::size_type at = line.find(text);
    return at == std::string::npos ? std::string() : line.substr(at + text.size());
}

} // namespace

Demo::Demo()
    : m_configuration(m_machine), m_trace(m_configuration.traceFile), m_complaints(m_machine.errorFile()) {
    // Written at once, so that what happens is told when it happens.
    const std::string tracing = "tracer_zevolauncher.cfg";
    m_machine.install(tracing, m_machine.installedText(tracing) + "\nTRACE_MUST_FLUSH\n");
}

Demo::~Demo() = default;

void Demo::runOn(VirtualUsbBus& bus) {
    startLauncher();
    tellFor(READING_TIME / 2);
    plugCdRom(bus);
    tellFor(READING_TIME);
    switchToModem(bus);
    tellFor(READING_TIME);
    showFiles();
    tellFor(READING_TIME);
    unplug(bus);
    tellFor(READING_TIME / 2);
    endLauncher();
}

void Demo::runOnRealBus() {
    startLauncher();
    m_narrator.say("Plug in " + shortIdentifier(m_configuration.modem) + " (the modem) or " +
                   shortIdentifier(m_configuration.cdRom) + " (its CD-ROM); Ctrl-C ends this.");
    try {
        for (;;)
            tellFor(READING_TIME);
    } catch (const Interrupted&) {
        m_narrator.say("Ctrl-C.");
        endLauncher();
    }
}

void Demo::startLauncher() {
    m_narrator.say("A machine for this run only: " + m_machine.folder());
    m_launcher = std::make_unique<LauncherProcess>(m_machine);
    m_narrator.say("The launcher starts (process " + std::to_string(m_launcher->pid()) + ").");
    tellUntil([this] { return m_trace.count("hardware id to be found : ") > 0; },
              "The launcher does not get ready.");
    m_narrator.say("The launcher is ready. It waits for the modem " + shortIdentifier(m_configuration.modem) +
                   " and for its CD-ROM personality " + shortIdentifier(m_configuration.cdRom) + ".");
}

void Demo::plugCdRom(VirtualUsbBus& bus) {
    m_narrator.beginStep();
    m_narrator.say("Plugging in a modem that shows itself as a CD-ROM, " +
                   shortIdentifier(m_configuration.cdRom) + ", at port " + PORT + ".");
    bus.plug(PORT, m_configuration.cdRom);
    tellUntil([this] { return bothRun(); }, "The launcher does not start the applications.");
}

void Demo::switchToModem(VirtualUsbBus& bus) {
    m_narrator.beginStep();
    m_narrator.say("The modem switches: the CD-ROM leaves, " + shortIdentifier(m_configuration.modem) +
                   " comes.");
    bus.switchMode(PORT, m_configuration.modem);
    const std::string running =
        "Executable already running : " + SampleMachine::pathOf(Bundle::notifier) + "\n";
    tellUntil([&] { return m_trace.count(running) > 0; }, "The launcher does not see the modem.");
}

void Demo::unplug(VirtualUsbBus& bus) {
    m_narrator.beginStep();
    m_narrator.say("Unplugging the modem.");
    const std::string removal = ">> [D] HID = " + hardwareIdentifier(m_configuration.modem) + ".\n";
    bus.unplug(PORT);
    tellUntil([&] { return m_trace.count(removal) > 0; }, "The launcher does not see the removal.");
    m_narrator.say("The applications stay: whoever opened them closes them.");
}

void Demo::showFiles() {
    m_narrator.quoteTail("The end of the trace, " + m_configuration.traceFile + ":", m_trace.text(), 24);
    m_narrator.quoteTail("The log, " + m_configuration.logFile + ":", readTextFile(m_configuration.logFile),
                         12);
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
        throw std::runtime_error("The launcher has ended by itself, with status " +
                                 std::to_string(m_launcher->exitStatus()) + ".\n" +
                                 m_launcher->standardError() + m_trace.text());
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
    // The launcher may have found it running before it could tell of its start itself.
    if (!m_machine.startsOf(bundle).empty() && m_foundRunning.erase(SampleMachine::pathOf(bundle)) != 0)
        m_narrator.sayOnce("It runs already and is not started again: " + SampleMachine::pathOf(bundle));
}

bool Demo::bothRun() const {
    return m_machine.startsOf(Bundle::mainApplication).size() == 1 &&
           m_machine.startsOf(Bundle::notifier).size() == 1;
}

} // namespace Zevo
