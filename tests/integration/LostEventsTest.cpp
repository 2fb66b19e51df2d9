#include "LauncherTest.h"

#include <cstdlib>
#include <unistd.h>

using namespace Zevo;
using testing::HasSubstr;

namespace {

class LostEvents : public LauncherTest {
protected:
    void SetUp() override {
        m_lossFile = m_machine.folder() + "/lost-events";
        expectStandardError(HasSubstr("lost"));
        // In front of the virtual bus, which calls the C library and nothing in between.
        const char* preloaded = std::getenv("LD_PRELOAD");
        startLauncher({"LD_PRELOAD=" ZEVO_LOST_EVENTS_LIBRARY ":" + std::string(preloaded ? preloaded : ""),
                       "ZEVO_LOSE_EVENTS=" + m_lossFile});
    }

    void beginLosing() {
        plugMarker(); // what was sent before has been read
        writeTextFile(m_lossFile, "");
        m_sentBefore = m_bus.eventCount();
    }

    /// Until now every event was lost; from here on they come, and the first reading tells of the loss.
    void endLosing() {
        const std::size_t sent = m_bus.eventCount() - m_sentBefore;
        // Or more: the marker's interface may have come behind its device, and so have been lost as well.
        ASSERT_TRUE(waitUntil([&] { return readTextFile(m_lossFile).size() >= sent; }));
        unlink(m_lossFile.c_str());
        plugMarker();
    }

    // Without serial ports: their events are not all for the launcher, and those that are lost are counted.
    const UsbDevice m_plainModem = makePlainDevice(m_modem.modem.vendor, m_modem.modem.product);

private:
    std::string m_lossFile;
    unsigned long m_sentBefore = 0;
};

TEST_F(LostEvents, ModemThatArrivedInTheGapStartsTheApplications) {
    beginLosing();
    m_bus.plug("1-1", m_plainModem);
    endLosing();
    expectStarts(1, 1);
    EXPECT_GE(arrivalsOf(m_plainModem), 1);
}

TEST_F(LostEvents, ModemThatLeftInTheGapIsRemoved) {
    m_bus.plug("1-1", m_plainModem);
    expectStarts(1, 1);
    beginLosing();
    m_bus.unplug("1-1");
    endLosing();
    EXPECT_EQ(m_trace.count("PnP called for onDeviceRemoval.\n"), 1);
}

TEST_F(LostEvents, ModemThatSwitchedInTheGapIsRemovedAndArrives) {
    m_bus.plug("1-1", m_modem.cdRom);
    expectStarts(1, 1);
    plugMarker(); // the launcher is done with the arrival: it will not look for the applications once more
    ASSERT_TRUE(m_machine.quitApplications());
    beginLosing();
    m_bus.switchMode("1-1", m_plainModem);
    endLosing();
    EXPECT_EQ(m_trace.count("PnP called for onDeviceRemoval.\n"), 1);
    EXPECT_GE(arrivalsOf(m_plainModem), 1);
    expectStarts(2, 2);
}

TEST_F(LostEvents, WhatStayedThroughTheGapDoesNotArriveAgain) {
    m_bus.plug("1-1", m_plainModem);
    expectStarts(1, 1);
    plugMarker();
    const int arrivals = arrivalsOf(m_plainModem);
    beginLosing();
    m_bus.plug("1-2", makePlainDevice(0x046d, 0xc077));
    endLosing();
    EXPECT_EQ(arrivalsOf(m_plainModem), arrivals);
    EXPECT_EQ(m_trace.count("PnP called for onDeviceRemoval.\n"), 0);
}

} // namespace
