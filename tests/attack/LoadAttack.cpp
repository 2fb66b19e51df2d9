#include "Attack.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>

using namespace Zevo;

namespace {

struct Sample {
    int cycles;
    long memory; // KiB
    int descriptors;
    int threads;
};

class Load : public Attack {
protected:
    Load() {
        // A ring, as in the field, so that old lines are overwritten.
        m_machine.install(
            "tracer_zevolauncher.cfg",
            "TRACE_ON\nTRACE_MUST_FLUSH\nTRACE_OBJECT_COUNT\nTRACE_CALL_EXIT\nTRACE_THE_THREAD *\n"
            "TRACE_THE_CALL *\nTRACE_SET_MSG_FILTER TRACE_DEBUG TRACE_ERROR TRACE_WARNING\n"
            "TRACE_SET_MAX_LINES 20000\nTRACE_SET_MAX_FILES 3\nTRACE_SET_FILE_NAME trace\n");
    }

    /// Takes three devices in turn: one that is not the modem, the modem, and its CD-ROM personality.
    void plugAndUnplug(int cycle) {
        const UsbDevice device = cycle % 3 == 0   ? makePlainDevice(0x1234, 0x5678)
                                 : cycle % 3 == 1 ? m_modem.modem
                                                  : m_modem.cdRom;
        m_bus.plug("1-1", device);
        m_bus.unplug("1-1");
    }

    /// The end of each trace file: any of them may be the newest.
    std::string lastLines() {
        std::string result;
        for (const char* file : {"/trace_0.txt", "/trace_1.txt", "/trace_2.txt"}) {
            const std::string text = readTextFile(m_machine.logFolder() + file);
            result +=
                std::string("\n") + file + "\n" + text.substr(text.size() < 3000 ? 0 : text.size() - 3000);
        }
        return result;
    }

    Sample sampleAt(int cycles) const {
        const pid_t pid = m_launcher->pid();
        return {cycles, residentMemoryOf(pid), descriptorCountOf(pid), threadCountOf(pid)};
    }

    /// Terminates the launcher; returns the counts of live objects, by class, that it then writes into the
    /// trace.
    std::map<std::string, std::string> objectsAtEnd() {
        terminateLauncher();
        std::map<std::string, std::string> result;
        for (const char* file : {"/trace_0.txt", "/trace_1.txt", "/trace_2.txt"}) {
            std::ifstream lines(m_machine.logFolder() + file);
            for (std::string line; std::getline(lines, line);) {
                const std::string::size_type name = line.find("Class = "), count = line.find(", count = ");
                if (name != std::string::npos && count != std::string::npos)
                    result[line.substr(name, count - name)] = line.substr(count);
            }
        }
        return result;
    }

    /// Appends the sample to the file from which draw-samples draws the run.
    static void keep(const Sample& sample) {
        const char* const path = std::getenv("ZEVO_ATTACK_SAMPLES");
        if (path != nullptr)
            std::ofstream(path, std::ios::app) << sample.cycles << ' ' << sample.memory << ' '
                                               << sample.descriptors << ' ' << sample.threads << '\n';
    }
};

int cyclesAsked(int otherwise) {
    const char* const text = std::getenv("ZEVO_ATTACK_CYCLES");
    return text == nullptr ? otherwise : std::atoi(text);
}

// The memory that malloc retains for reuse grows in steps until every size has occurred.
const long GROWTH_ALLOWED_KIB = 1024;

TEST_F(Load, ManyPlugAndUnplugCyclesLeaveMemoryDescriptorsThreadsAndObjectsFlat) {
    startLauncher();
    expectServesAModem(); // creates all that is created only once
    const auto objectsWithoutLoad = objectsAtEnd();
    ASSERT_FALSE(objectsWithoutLoad.empty());

    const int cycles = cyclesAsked(count(100, 100000));
    const int warmUp = cycles / 10;
    const int step = cycles < 200 ? 1 : cycles / 200;
    startLauncher();
    expectServesAModem(); // the applications keep running: the cycles start none
    Sample warm{};
    Sample last{};
    long most = 0;
    for (int cycle = 1; cycle <= cycles; ++cycle) {
        ASSERT_NO_THROW(plugAndUnplug(cycle))
            << "cycle " << cycle << ", launcher in state " << stateOf(m_launcher->pid())
            << m_launcher->standardError() << lastLines();
        if (cycle == warmUp)
            warm = sampleAt(cycle);
        if (cycle % step == 0) {
            last = sampleAt(cycle);
            most = std::max(most, last.memory);
            keep(last);
        }
    }
    ASSERT_TRUE(m_launcher->isRunning());
    expectServesAModem();
    last = sampleAt(cycles);
    EXPECT_LE(last.memory, warm.memory + GROWTH_ALLOWED_KIB);
    EXPECT_EQ(last.descriptors, warm.descriptors);
    EXPECT_EQ(last.threads, warm.threads);
    EXPECT_EQ(objectsAtEnd(), objectsWithoutLoad);
    tellFigure(std::to_string(cycles) + " cycles: memory " + std::to_string(warm.memory) + " KiB after " +
               std::to_string(warmUp) + ", " + std::to_string(last.memory) + " KiB at the end, " +
               std::to_string(most) + " KiB at most; " + std::to_string(last.descriptors) + " descriptors, " +
               std::to_string(last.threads) + " thread" + (last.threads == 1 ? "" : "s") + ", " +
               std::to_string(objectsWithoutLoad.size()) +
               " classes' counts of live objects as without load");
}

// ---- no load at all

class Idle : public Attack {};

TEST_F(Idle, NothingWakesTheLauncherUp) {
    // As in the field, lines wait in memory: the flush thread writes them within a second, then sleeps.
    for (const char* file : {"tracer_zevolauncher.cfg", "logger_launcher.cfg"})
        m_machine.install(file, SampleMachine().installedText(file));
    startLauncherWithoutWaiting();
    m_trace.restart(m_machine.logFolder() + "/tracer_zevolauncher_0.txt");
    waitUntilWatching();
    expectServesAModem();
    const auto isQuiet = [this] {
        const auto before = switchesOf(m_launcher->pid());
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        return before == switchesOf(m_launcher->pid());
    };
    ASSERT_TRUE(waitUntil(isQuiet));
    const int seconds = count(2, 60);
    const auto before = switchesOf(m_launcher->pid());
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    EXPECT_EQ(switchesOf(m_launcher->pid()), before);
    tellFigure(std::to_string(seconds) + " seconds, " + std::to_string(threadCountOf(m_launcher->pid())) +
               " threads: no wake-up");
}

} // namespace
