#include "Attack.h"

#include <cerrno>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Zevo;

namespace {

int removeEntry(const char* path, const struct stat*, int, struct FTW*) {
    return remove(path);
}

/// While the launcher runs, writing trace and log fails with the parameter's errno.
class Disk : public Attack, public testing::WithParamInterface<std::pair<const char*, int>> {
protected:
    Disk() { expectStandardError(testing::_); }

    /// Expects that the trace has a whole line for the arrival of each of these devices, in this order.
    void expectArrivalsInOrder(const std::vector<UsbDevice>& devices) {
        m_trace.restart();
        for (const UsbDevice& device : devices)
            EXPECT_TRUE(m_trace.waitFor(">> [D] Detected hardware id : " + hardwareIdentifier(device) + "\n"))
                << hardwareIdentifier(device);
    }
};

TEST_P(Disk, GivesEveryLineBackOnceItTakesThemAgain) {
    startWithFaults();
    std::vector<UsbDevice> devices;
    const int rounds = count(2, 20);
    for (int round = 0; round < rounds; ++round) {
        m_faults.refuseWriting(m_machine.dataFolder(), GetParam().second);
        const unsigned long refused = m_faults.refusedWrites();
        for (int i = 0; i < 20; ++i) {
            devices.push_back(makePlainDevice(0x2000, static_cast<unsigned>(devices.size() + 1)));
            m_bus.plug("4-1", devices.back());
            m_bus.unplug("4-1");
        }
        ASSERT_TRUE(waitUntil([&] { return m_faults.refusedWrites() > refused + 100; }));
        ASSERT_TRUE(servesAModem()) << "the work goes on without a trace";
        m_faults.refuseWriting(m_machine.dataFolder(), 0);
        plugMarker();
    }
    expectArrivalsInOrder(devices);
    tellFigure(std::to_string(rounds) + " times unwritable: " + std::to_string(m_faults.refusedWrites()) +
               " openings and writes refused, " + std::to_string(devices.size()) +
               " arrivals of that time in the trace, in order");
}

INSTANTIATE_TEST_SUITE_P(Reason, Disk,
                         testing::Values(std::pair("Full", ENOSPC), std::pair("ReadOnly", EROFS),
                                         std::pair("Failing", EIO), std::pair("OverQuota", EDQUOT)),
                         [](const auto& tested) { return tested.param.first; });

class LogFolder : public Attack {
protected:
    LogFolder() { expectStandardError(testing::_); }

    void removeLogFolder() { nftw(m_machine.logFolder().c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS); }

    void expectTraceGoesOn() {
        m_trace.restart();
        plugMarker();
    }
};

TEST_F(LogFolder, RemovedIsMissedUntilItIsThereAgain) {
    startLauncher();
    const int rounds = count(2, 20);
    for (int round = 0; round < rounds; ++round) {
        removeLogFolder();
        expectServesAModem();
        ASSERT_EQ(access(m_machine.logFolder().c_str(), F_OK), -1) << "nobody but its owner makes it again";
        createFolders(m_machine.logFolder());
        expectTraceGoesOn();
        EXPECT_GT(m_trace.count("Start executable : /Applications/Quillmarsh.app\n"), 0)
            << "what waited meanwhile";
    }
    tellFigure(std::to_string(rounds) + " times removed and made again; no line lost");
}

TEST_F(LogFolder, ReplacedByAnotherIsWrittenInto) {
    startLauncher();
    const std::string other = m_machine.folder() + "/other-logs";
    ASSERT_EQ(rename(m_machine.logFolder().c_str(), other.c_str()), 0);
    createFolders(m_machine.logFolder());
    expectServesAModem();
    expectTraceGoesOn();
    EXPECT_EQ(readTextFile(other + "/trace_0.txt").find("Start executable"), std::string::npos);
}

TEST_F(LogFolder, ReplacedByAFileIsNotWrittenOver) {
    startLauncher();
    removeLogFolder();
    writeTextFile(m_machine.logFolder(), "somebody's own");
    expectServesAModem();
    EXPECT_EQ(readTextFile(m_machine.logFolder()), "somebody's own");
    terminateLauncher();
    EXPECT_EQ(readTextFile(m_machine.logFolder()), "somebody's own");
}

} // namespace
