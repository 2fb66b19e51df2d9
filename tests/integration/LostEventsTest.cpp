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
        // Before the virtual bus's library: that one calls the C library directly and would bypass a library
        // behind it.
        const char* preloaded = std::getenv("LD_PRELOAD");
        startLauncher({"LD_PRELOAD=" ZEVO_LOST_EVENTS_LIBRARY ":" + std::string(preloaded ? preloaded : ""),
                       "ZEVO_LOSE_EVENTS=" + m_lossFile});
    }

    void beginLosing() {
        plugMarker(); // all earlier events have been read
        writeTextFile(m_lossFile, "");
        m_sentBefore = m_bus.eventCount();
    }

    /// Ends the loss of events: from now on they are delivered, after a first read that reports the loss.
    void endLosing() {
        const std::size_t sent = m_bus.eventCount() - m_sentBefore;
        // Or more: the event of the marker's interface may come after beginLosing(), and is then lost, too.
        ASSERT_TRUE(waitUntil([&] { return readTextFile(m_lossFile).size() >= sent; }));
        unlink(m_lossFile.c_str());
        plugMarker();
    }

    // Without serial ports, some of whose events the launcher does not receive: lost events are counted.
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
    plugMarker(); // the arrival is dealt with: it causes no further starts
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
