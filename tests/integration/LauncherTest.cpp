#include "LauncherTest.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <memory>
#include <unistd.h>

namespace Zevo {
namespace {

const char TRACE_EVERYTHING[] = "TRACE_ON\n"
                                "TRACE_MUST_FLUSH\n"
                                "TRACE_CALL_EXIT\n"
                                "TRACE_OBJECT_COUNT\n"
                                "TRACE_THE_THREAD *\n"
                                "TRACE_THE_CALL *\n"
                                "TRACE_SET_MSG_FILTER TRACE_DEBUG TRACE_ERROR TRACE_WARNING\n"
                                "TRACE_SET_MAX_LINES 100000000\n"
                                "TRACE_SET_FILE_NAME trace\n";

const char LOG_EVERYTHING[] = "LOG_ON\n"
                              "LOG_MUST_FLUSH\n"
                              "LOG_SET_MSG_FILTER LOG_DEBUG LOG_ERROR LOG_WARNING LOG_LEVEL_0 LOG_LEVEL_1\n"
                              "LOG_SET_FILE_NAME log\n";

const unsigned MARKER_VENDOR = 0xfeed;

std::vector<std::string> entriesOf(const std::string& folder) {
    std::vector<std::string> result;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(folder.c_str()), &closedir);
    while (const dirent* entry = listing ? readdir(listing.get()) : nullptr)
        if (entry->d_name[0] != '.')
            result.push_back(entry->d_name);
    return result;
}

/// The fields of /proc/<pid>/stat from the state on. The name before them may contain any characters.
std::string statusFields(const std::string& pid) {
    const std::string text = readTextFile("/proc/" + pid + "/stat");
    const std::string::size_type end = text.rfind(')');
    return end == std::string::npos ? std::string() : text.substr(end + 2);
}

} // namespace

LauncherTest::LauncherTest()
    : m_modem(modemNamed("storage-then-serial")), m_trace(m_machine.logFolder() + "/trace_0.txt"),
      m_log(m_machine.logFolder() + "/log_0.txt") {
    m_machine.install("tracer_zevolauncher.cfg", TRACE_EVERYTHING);
    m_machine.install("logger_launcher.cfg", LOG_EVERYTHING);
    configureFor(m_modem.modem, m_modem.cdRom);
}

void LauncherTest::useInstalledTraceAndLog() {
    const SampleMachine product;
    m_machine.install("tracer_zevolauncher.cfg",
                      product.installedText("tracer_zevolauncher.cfg") + "TRACE_MUST_FLUSH\n");
    m_machine.install("logger_launcher.cfg",
                      product.installedText("logger_launcher.cfg") + "LOG_MUST_FLUSH\n");
    m_trace.restart(m_machine.logFolder() + "/tracer_zevolauncher_0.txt");
    m_log.restart(m_machine.logFolder() + "/logger_launcher_0.txt");
}

Modem LauncherTest::modemNamed(const std::string& fileName) {
    return readModemFile(std::string(ZEVO_MODEMS) + "/" + fileName + ".modem");
}

void LauncherTest::configureFor(const UsbDevice& modem, const UsbDevice& cdRom) {
    configure(hardwareIdentifier(modem), hardwareIdentifier(modem), hardwareIdentifier(cdRom));
}

void LauncherTest::configure(const std::string& toDetect, const std::string& toFind,
                             const std::string& cdRomToDetect) {
    m_machine.installLauncherConfiguration({{"MacHardwareIdToDetect", toDetect},
                                            {"MacHardwareIdToFind", toFind},
                                            {"MacCdRomHIdToDetect", cdRomToDetect}});
}

void LauncherTest::startLauncherWithoutWaiting(const std::vector<std::string>& environment) {
    unlink(m_trace.path().c_str()); // a second launcher empties it only when it writes its first line
    m_trace.restart();
    m_launcher = std::make_unique<LauncherProcess>(m_machine, environment);
}

void LauncherTest::startLauncher(const std::vector<std::string>& environment) {
    startLauncherWithoutWaiting(environment);
    waitUntilWatching();
}

void LauncherTest::waitUntilWatching() {
    ASSERT_TRUE(m_trace.waitFor("<- ZevoLauncher::isDeviceFound\n"))
        << m_launcher->standardError() << m_trace.text();
}

void LauncherTest::plugMarker() {
    // Two markers, one after the other: the first one's arrival may overtake notifications that came with it.
    for (int round = 0; round < 2; ++round) {
        const UsbDevice marker = makePlainDevice(MARKER_VENDOR, ++m_markers);
        m_bus.plug("9-" + std::to_string(m_markers), marker);
        ASSERT_TRUE(m_trace.waitFor("Detected hardware id : " + hardwareIdentifier(marker) + "\n"))
            << m_trace.text();
        ASSERT_TRUE(m_trace.waitFor("<- ZevoLauncher::onDeviceArrival\n"));
    }
}

std::string LauncherTest::startLine(Bundle bundle) const {
    return "Start executable : " + SampleMachine::pathOf(bundle) + "\n";
}

void LauncherTest::expectStarts(int ofMainApplication, int ofNotifier) {
    m_expectedStarts[0] = ofMainApplication;
    m_expectedStarts[1] = ofNotifier;
    const auto haveStarted = [&] {
        return startCount(Bundle::mainApplication) >= ofMainApplication &&
               startCount(Bundle::notifier) >= ofNotifier;
    };
    EXPECT_TRUE(waitUntil(haveStarted)) << m_trace.text();
    EXPECT_EQ(startCount(Bundle::mainApplication), ofMainApplication);
    EXPECT_EQ(startCount(Bundle::notifier), ofNotifier);
}

StartReport LauncherTest::onlyStartOf(Bundle bundle) {
    waitUntil([&] { return startCount(bundle) >= 1; });
    const std::vector<StartReport> starts = m_machine.startsOf(bundle);
    EXPECT_EQ(starts.size(), 1u);
    return starts.empty() ? StartReport("") : starts.front();
}

int LauncherTest::arrivalsOf(const UsbDevice& device) {
    return m_trace.count("Detected hardware id : " + hardwareIdentifier(device) + "\n");
}

bool LauncherTest::endLauncherBySignal(int number) {
    m_launcher->sendSignal(number);
#ifdef __SANITIZE_THREAD__
    // The thread sanitizer intercepts every signal and calls the handler later. Now and then it does not, and
    // the signal is lost.
    for (int times = 0; times < 5 && !m_launcher->waitForEnd(std::chrono::seconds(4)); ++times)
        m_launcher->sendSignal(number);
#endif
    return m_launcher->waitForEnd();
}

void LauncherTest::terminateLauncher() {
    ASSERT_TRUE(endLauncherBySignal(SIGTERM)) << "the launcher does not end";
    EXPECT_EQ(m_launcher->endingSignal(), 0);
    EXPECT_EQ(m_launcher->exitStatus(), 0);
}

void LauncherTest::TearDown() {
    if (m_launcher) {
        if (m_launcher->isRunning())
            terminateLauncher();
        EXPECT_THAT(m_launcher->standardError(), m_standardError);
        EXPECT_THAT(m_launcher->standardOutput(), testing::IsEmpty());
    }
    EXPECT_TRUE(m_machine.quitApplications()) << "an application does not quit";
    EXPECT_EQ(startCount(Bundle::mainApplication), m_expectedStarts[0]);
    EXPECT_EQ(startCount(Bundle::notifier), m_expectedStarts[1]);
    // A process that has ended stays in the list until its parent, or init, has reaped it.
    waitUntil([&] { return m_machine.processes().empty(); });
    EXPECT_THAT(m_machine.processes(), testing::IsEmpty()) << "a process is left over";
}

std::vector<pid_t> childrenOf(pid_t parent) {
    std::vector<pid_t> result;
    for (const std::string& name : entriesOf("/proc")) {
        const std::string fields = statusFields(name);
        if (fields.size() > 2 && std::atoi(fields.c_str() + 2) == parent)
            result.push_back(std::atoi(name.c_str()));
    }
    return result;
}

char stateOf(pid_t pid) {
    const std::string fields = statusFields(std::to_string(pid));
    return fields.empty() ? '-' : fields[0];
}

long residentMemoryOf(pid_t pid) {
    const std::string status = readTextFile("/proc/" + std::to_string(pid) + "/status");
    const std::string::size_type at = status.find("VmRSS:");
    return at == std::string::npos ? 0 : std::atol(status.c_str() + at + 6);
}

int descriptorCountOf(pid_t pid) {
    return static_cast<int>(entriesOf("/proc/" + std::to_string(pid) + "/fd").size());
}

int threadCountOf(pid_t pid) {
    return static_cast<int>(entriesOf("/proc/" + std::to_string(pid) + "/task").size());
}

std::string switchesOf(pid_t pid) {
    std::string result;
    const std::string threads = "/proc/" + std::to_string(pid) + "/task";
    for (const std::string& thread : entriesOf(threads)) {
        const std::string status = readTextFile(threads + "/" + thread + "/status");
        const std::string::size_type begin = status.find("voluntary_ctxt_switches:");
        result += thread + ": " + status.substr(std::min(begin, status.size())) + "\n";
    }
    return result;
}

} // namespace Zevo
