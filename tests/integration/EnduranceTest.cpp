#include "LauncherTest.h"

#include <cstdlib>

using namespace Zevo;

namespace {

// A sanitizer's runtime deliberately retains freed memory; sanitizerKeepingLittle() limits that.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
const long GROWTH_ALLOWED_KIB = 16 * 1024;
#else
const long GROWTH_ALLOWED_KIB = 512;
#endif

std::string sanitizerKeepingLittle() {
    const char* const options = std::getenv("ASAN_OPTIONS");
    return std::string("ASAN_OPTIONS=") + (options == nullptr ? "" : options) + ":quarantine_size_mb=1";
}

class Endurance : public LauncherTest {
protected:
    /// Traces few lines per arrival and removal, because each line opens the file anew.
    void traceOnlyWhatIsCounted() {
        m_machine.install(
            "tracer_zevolauncher.cfg",
            "TRACE_ON\nTRACE_MUST_FLUSH\nTRACE_CALL_EXIT\nTRACE_THE_THREAD *\n"
            "TRACE_THE_CALL ZevoLauncher::isDeviceFound\nTRACE_THE_CALL ZevoLauncher::onDeviceArrival\n"
            "TRACE_THE_CALL ZevoLauncher::processDevice\nTRACE_THE_CALL DeviceNotification\n"
            "TRACE_THE_CALL SIGNAL_FILTER\n"
            "TRACE_SET_MSG_FILTER TRACE_DEBUG TRACE_ERROR\nTRACE_SET_MAX_LINES 100000000\n"
            "TRACE_SET_FILE_NAME trace\n");
    }

    void waitForRemovals(int count) {
        for (int i = 0; i < count; ++i)
            ASSERT_TRUE(m_trace.waitFor("PnP called for onDeviceRemoval.\n"));
    }

    int removals() { return m_trace.count("PnP called for onDeviceRemoval.\n"); }
};

TEST_F(Endurance, TwoHundredDevicesPresentAtStartAreAllListedAndAllMissedWhenTheyGo) {
    const int COUNT = 200;
    const unsigned FIRST_PRODUCT = 0x100;
    traceOnlyWhatIsCounted();
    for (int i = 0; i < COUNT - 1; ++i)
        m_bus.plug(std::to_string(1 + i / 20) + "-" + std::to_string(1 + i % 20),
                   makePlainDevice(0x1234, FIRST_PRODUCT + static_cast<unsigned>(i)));
    m_bus.plug("20-1", m_modem.modem);
    startLauncher();
    expectStarts(1, 1);
    m_bus.unplugAll();
    plugMarker();
    EXPECT_EQ(removals(), COUNT);
    for (int i = 0; i < COUNT - 1; ++i)
        EXPECT_EQ(arrivalsOf(makePlainDevice(0x1234, FIRST_PRODUCT + static_cast<unsigned>(i))), 0);
    EXPECT_EQ(m_trace.count(">> [D] HID = USB#Vid_1234&Pid_01"), COUNT - 1);
}

TEST_F(Endurance, AThousandArrivalsAndRemovalsMissNothingAndLeaveMemoryAndDescriptorsFlat) {
    const int ROUNDS = 1000;
    const int WARM_UP = 200;
    const int BURST = 20;
    const UsbDevice simple = makePlainDevice(m_modem.modem.vendor, m_modem.modem.product);
    traceOnlyWhatIsCounted();
    startLauncher({sanitizerKeepingLittle()});
    long memory = 0;
    int descriptors = 0;
    for (int round = 1; round <= ROUNDS; ++round) {
        m_bus.plug("1-1", round % 20 == 0 ? m_modem.modem : simple);
        m_bus.unplug("1-1");
        // In bursts, but not in one of a thousand: events that a busy machine has not delivered yet take
        // memory, too, and are not to be measured.
        if (round % BURST == 0)
            waitForRemovals(BURST);
        if (round == WARM_UP) {
            memory = residentMemoryOf(m_launcher->pid());
            descriptors = descriptorCountOf(m_launcher->pid());
        }
    }
    plugMarker();
    EXPECT_EQ(removals(), ROUNDS);
    EXPECT_GE(arrivalsOf(simple), ROUNDS);
    EXPECT_LE(residentMemoryOf(m_launcher->pid()), memory + GROWTH_ALLOWED_KIB);
    EXPECT_EQ(descriptorCountOf(m_launcher->pid()), descriptors);
    expectStarts(1, 1);
}

} // namespace
