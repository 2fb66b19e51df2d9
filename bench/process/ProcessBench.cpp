// Measures the launcher as a whole process on a virtual USB bus, beside smaller programs that do the same
// job. No program is changed to be timed: a preloaded library sends a mark when the program waits for events,
// and the started application sends one when its main() runs.
//
// "bare" starts the application whether or not it runs already; "bare-asking" checks that first, as our
// launcher does.
//
// Floors: the start of the application alone, and a program that only waits. zevo-quiet is our launcher with
// trace and log switched off. cost_ns is the time of one arrival or one start; for idle, the processor time
// in a second without events.

#include "MeasuredProgram.h"
#include "ModemFile.h"
#include "OtherProcesses.h"
#include "SampleMachine.h"
#include "VirtualBusProcess.h"
#include "VirtualUsbBus.h"
#include "Works.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <spawn.h>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>

using namespace Zevo;

namespace {

using Bundle = SampleMachine::Bundle;

const char PORT[] = "1-1";
const char NO_TRACE[] = "TRACE_OFF\n";
const char NO_LOG[] = "LOG_OFF\n";

/// The exit status if this machine lacks what the benchmark needs. ./zevo bench reports the reason, not a
/// failure.
const int LEFT_OUT = 77;

/// A sample machine with a virtual bus, and with applications that send a mark when they run.
class Bench {
public:
    explicit Bench(Bus seenBus = Bus::virtualOne)
        : m_seenBus(seenBus), m_marks(m_machine.folder() + "/marks"), m_modem(modem()) {
        for (const Bundle bundle : {Bundle::mainApplication, Bundle::notifier})
            installApplication(m_machine.executableOf(bundle));
        m_machine.installLauncherConfiguration({{"MacHardwareIdToDetect", hardwareIdentifier(m_modem)},
                                                {"MacHardwareIdToFind", hardwareIdentifier(m_modem)},
                                                {"MacCdRomHIdToDetect", "USB#Vid_0000&Pid_0000"}});
    }

    void startLauncher() { start({m_machine.launcherProgram()}); }
    void startQuietLauncher() {
        m_machine.install("tracer_zevolauncher.cfg", NO_TRACE);
        m_machine.install("logger_launcher.cfg", NO_LOG);
        startLauncher();
    }
    void startBare() { start(bareCommand()); }
    void startBareAsking() {
        std::vector<std::string> command = bareCommand();
        command.push_back("unless-it-runs");
        start(command);
    }
    void startUdevadm() { start({ZEVO_UDEVADM, "monitor", "--udev", "--subsystem-match=usb/usb_device"}); }
    void startPyudev() {
        start({ZEVO_PYTHON, ZEVO_PYUDEV_LAUNCHER, hexadecimal(m_modem.vendor), hexadecimal(m_modem.product)});
    }
    void startWaitingProgram() { start({ZEVO_WAITING_PROGRAM}); }
    void stop() { m_program.reset(); }

    /// Plugs in `count` devices that no program waits for, a hundred on each bus: a real bus has at most 127.
    void plugDevices(int64_t count) {
        for (int64_t i = 0; i < count; ++i)
            m_bus.plug(std::to_string(2 + i / 100) + "-" + std::to_string(1 + i % 100),
                       makePlainDevice(0xfeed, static_cast<unsigned>(i)));
    }

    /// Plugs in the modem; returns the nanoseconds until the main application runs.
    int64_t plugModem(bool startsNotifier) {
        const int64_t sent = markClock();
        m_bus.plug(PORT, m_modem);
        return applicationStart(sent, startsNotifier) - sent;
    }

    void unplugModem() { m_bus.unplug(PORT); }

    /// The same for a modem that leaves and arrives again. Only events are sent; the device itself stays, so
    /// that plugging it is not part of the measured time.
    int64_t announceModem(bool startsNotifier) {
        announceAndWait("remove");
        const int64_t sent = markClock();
        m_bus.announce(PORT, "add");
        return applicationStart(sent, startsNotifier) - sent;
    }

    /// The same without a launcher: this process starts the application.
    int64_t startApplication() {
        std::string path = m_machine.executableOf(Bundle::mainApplication);
        std::string marks = MARK_PIPE_VARIABLE "=" + m_marks.path();
        char* const arguments[] = {path.data(), nullptr};
        char* const environment[] = {marks.data(), nullptr};
        pid_t pid = -1;
        const int64_t begin = markClock();
        if (posix_spawn(&pid, path.c_str(), nullptr, nullptr, arguments, environment) != 0)
            throw std::runtime_error("cannot start " + path);
        const int64_t time = m_marks.await(MARK_MAIN_APPLICATION, begin) - begin;
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        return time;
    }

    const MeasuredProgram& program() const { return *m_program; }

private:
    static UsbDevice modem() { return readModemFile(ZEVO_MODEMS "/storage-then-serial.modem").modem; }

    static std::string hexadecimal(unsigned value) {
        char text[16];
        std::snprintf(text, sizeof text, "%04x", value);
        return text;
    }

    std::vector<std::string> bareCommand() const {
        return {ZEVO_BARE_LAUNCHER, hexadecimal(m_modem.vendor), hexadecimal(m_modem.product),
                m_machine.executableOf(Bundle::mainApplication)};
    }

    static void installApplication(const std::string& place) {
        unlink(place.c_str());
        writeTextFile(place, readTextFile(ZEVO_STARTED_APPLICATION));
        chmod(place.c_str(), 0755);
    }

    void start(const std::vector<std::string>& command) {
        m_program = std::make_unique<MeasuredProgram>(command, m_machine.environment(), m_marks, m_seenBus);
    }

    /// Returns the time at which the main application's main() ran, after the launcher has handled the event
    /// and the applications have been ended.
    int64_t applicationStart(int64_t sent, bool startsNotifier) {
        const int64_t started = m_marks.await(MARK_MAIN_APPLICATION, sent);
        if (startsNotifier)
            m_marks.await(MARK_NOTIFIER, sent);
        announceAndWait("change"); // has no effect; once it is handled, all earlier events are, too
        m_machine.quitApplications();
        return started;
    }

    void announceAndWait(const char* action) {
        const int64_t begin = markClock();
        m_bus.announce(PORT, action);
        m_marks.await(MARK_WAITS, begin);
    }

    const Bus m_seenBus;
    SampleMachine m_machine;
    VirtualUsbBus m_bus;
    MarkPipe m_marks;
    const UsbDevice m_modem;
    std::unique_ptr<MeasuredProgram> m_program;
};

double medianOf(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// `measure` returns the nanoseconds of one iteration; the cost is the median of all.
template <typename Measure>
void measureEach(benchmark::State& state, Measure measure) {
    std::vector<double> all;
    for (auto _ : state) {
        const double nanoseconds = static_cast<double>(measure());
        state.SetIterationTime(nanoseconds / 1e9);
        all.push_back(nanoseconds);
    }
    state.counters["cost_ns"] = medianOf(all);
    state.counters["best_ns"] = *std::min_element(all.begin(), all.end());
}

using Starter = void (Bench::*)();

void arrivalToExec(benchmark::State& state, Starter start, bool startsNotifier) {
    Bench bench;
    const OtherProcesses others(state.range(0));
    (bench.*start)();
    bench.plugModem(startsNotifier);
    measureEach(state, [&] { return bench.announceModem(startsNotifier); });
}

/// As arrivalToExec(), but each iteration starts the program anew and measures its first arrival.
void firstArrivalToExec(benchmark::State& state, Starter start, bool startsNotifier) {
    Bench bench;
    const OtherProcesses others(state.range(0));
    measureEach(state, [&] {
        (bench.*start)();
        const int64_t time = bench.plugModem(startsNotifier);
        bench.stop();
        bench.unplugModem();
        return time;
    });
}

void applicationAlone(benchmark::State& state) {
    Bench bench;
    const OtherProcesses others(state.range(0));
    measureEach(state, [&] { return bench.startApplication(); });
}

void measureStarts(benchmark::State& state, Starter start, Bench& bench) {
    measureEach(state, [&] {
        bench.stop();
        (bench.*start)();
        return bench.program().armedTime() - bench.program().startTime();
    });
    state.counters["resident_bytes"] = static_cast<double>(bench.program().residentBytes());
}

void startUntilArmed(benchmark::State& state, Starter start) {
    Bench bench;
    bench.plugDevices(state.range(0));
    measureStarts(state, start, bench);
}

/// As startUntilArmed() with this machine's own devices, and without the virtual bus's library.
void startUntilArmedOnOwnBus(benchmark::State& state, Starter start) {
    Bench bench(Bus::ofThisMachine);
    measureStarts(state, start, bench);
}

/// The cost of a program that has nothing to do: processor time and wake-ups in a second without events.
void idle(benchmark::State& state, Starter start) {
    const int64_t milliseconds = works::isSmokeRun() ? 100 : 3000;
    Bench bench;
    (bench.*start)();
    const MeasuredProgram& program = bench.program();
    // The mark is sent a moment before the program sleeps, and the trace of the start is written a second
    // later.
    std::this_thread::sleep_for(std::chrono::milliseconds(works::isSmokeRun() ? 20 : 1500));
    for (auto _ : state) {
        const int64_t begin = program.cpuTime();
        const long sleeps = program.sleeps();
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        const double seconds = static_cast<double>(milliseconds) / 1000;
        const double cost = static_cast<double>(program.cpuTime() - begin) / seconds;
        state.SetIterationTime(cost / 1e9);
        state.counters["cost_ns"] = cost;
        state.counters["wakeups_per_second"] = static_cast<double>(program.sleeps() - sleeps) / seconds;
    }
    state.counters["resident_bytes"] = static_cast<double>(program.residentBytes());
}

template <typename... Arguments>
benchmark::internal::Benchmark* add(const std::string& name, Arguments... arguments) {
    return benchmark::RegisterBenchmark(name.c_str(), arguments...)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

void addSizes(benchmark::internal::Benchmark* added, std::vector<int64_t> sizes) {
    for (const int64_t size : sizes)
        if (!works::isSmokeRun() || size <= 10)
            added->Arg(size);
}

int rounds() {
    return works::isSmokeRun() ? 2 : 25;
}

const std::vector<int64_t> RUNNING_PROCESSES = {1, 10, 100, 300, 1000};
const std::vector<int64_t> RUNNING_PROCESSES_AT_FIRST = {1, 300, 1000};

void addArrival(const char* who, Starter start, bool startsNotifier) {
    addSizes(add(std::string("arrival-to-exec/") + who, arrivalToExec, start, startsNotifier)
                 ->Iterations(rounds()),
             RUNNING_PROCESSES);
    addSizes(add(std::string("first-arrival-to-exec/") + who, firstArrivalToExec, start, startsNotifier)
                 ->Iterations(rounds()),
             RUNNING_PROCESSES_AT_FIRST);
}

void addArrivalFloor() {
    addSizes(add("arrival-to-exec/floor", applicationAlone)->Iterations(rounds()), RUNNING_PROCESSES);
    addSizes(add("first-arrival-to-exec/floor", applicationAlone)->Iterations(rounds()),
             RUNNING_PROCESSES_AT_FIRST);
}

void addStart(const char* who, Starter start) {
    addSizes(add(std::string("start-until-armed/") + who, startUntilArmed, start)->Iterations(rounds()),
             {1, 10, 100, 1000});
    add(std::string("start-until-armed-own-bus/") + who, startUntilArmedOnOwnBus, start)
        ->Iterations(rounds());
    add(std::string("idle/") + who, idle, start)->Iterations(1);
}

void addAll() {
    addArrival("zevo", &Bench::startLauncher, true);
    addArrival("zevo-quiet", &Bench::startQuietLauncher, true);
    addArrival("bare", &Bench::startBare, false);
    addArrival("bare-asking", &Bench::startBareAsking, false);
    addArrivalFloor();
    addStart("zevo", &Bench::startLauncher);
    addStart("zevo-quiet", &Bench::startQuietLauncher);
    addStart("bare", &Bench::startBare);
    addStart("floor", &Bench::startWaitingProgram);
    if (*ZEVO_UDEVADM != '\0')
        addStart("udevadm-monitor", &Bench::startUdevadm);
    else
        benchmark::AddCustomContext("left_out: udevadm-monitor", "there was no udevadm when this was built");
    if (*ZEVO_PYTHON != '\0' && std::system(ZEVO_PYTHON " -c 'import pyudev' 2>/dev/null") == 0)
        addStart("pyudev", &Bench::startPyudev);
    else
        benchmark::AddCustomContext("left_out: pyudev", "the system's python3 has no pyudev");
}

/// Without a virtual bus there is nothing to measure: if this machine cannot have one, ends with LEFT_OUT.
void restartOrLeaveOut(char** arguments) {
    try {
        restartForVirtualBus(arguments);
    } catch (const std::runtime_error& problem) {
        std::fprintf(stderr, "%s\n", problem.what());
        std::exit(LEFT_OUT);
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    restartOrLeaveOut(arguments);
    benchmark::Initialize(&argumentCount, arguments);
    addAll();
    try {
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& error) { // caught, so that the destructors end the measured programs
        std::fprintf(stderr, "bench_process: %s\n", error.what());
        return 1;
    }
    benchmark::Shutdown();
    return 0;
}
