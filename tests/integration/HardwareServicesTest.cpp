// The hardware services run in the test's own process, so that it can count the platform's live objects.

#include "HWServiceDetection.h"
#include "HWServicePnP.h"
#include "HWServicePnPClient.h"

#include "KernelMatching.h"
#include "ModemFile.h"
#include "VirtualUsbBus.h"

#include <CoreFoundation/CoreFoundation.h>
#include <LinuxPlatform.h>

#include <gmock/gmock.h>
#include <map>
#include <thread>

using namespace Zevo;

namespace {

/// Counts arrivals and removals, and ends the run loop at the removal of the last device.
class CountingClient : public HWServicePnPClient {
public:
    explicit CountingClient(const UsbDevice& last) : m_last(hardwareIdentifier(last)) {}

    void onResumeStandbyMode() override {}
    void onDeviceArrival(std::string& hid) override { ++m_arrivals[hid]; }
    void onDeviceRemoval(std::string& hid) override {
        ++m_removals[hid];
        if (hid == m_last)
            CFRunLoopStop(CFRunLoopGetCurrent());
    }

    int arrivalsOf(const UsbDevice& device) { return m_arrivals[hardwareIdentifier(device)]; }
    int removalsOf(const UsbDevice& device) { return m_removals[hardwareIdentifier(device)]; }

private:
    std::string m_last;
    std::map<std::string, int> m_arrivals;
    std::map<std::string, int> m_removals;
};

class HardwareServices : public testing::Test {
protected:
    HardwareServices()
        : m_simple(makePlainDevice(m_modem.modem.vendor, m_modem.modem.product)),
          m_last(makePlainDevice(0xfeed, 1)), m_client(m_last) {
        LinuxPlatform::KernelHabits habits;
        habits.matching = matchesAsKernel();
        LinuxPlatform::adoptHabits(habits);
    }

    /// Another thread plugs the modem in and out so many times, and then the last device, while this thread's
    /// run loop delivers the events.
    void plugAndUnplug(int rounds) {
        std::thread user([this, rounds] {
            for (int round = 0; round < rounds; ++round) {
                m_bus.plug("1-1", round % 20 == 0 ? m_modem.modem : m_simple);
                m_bus.unplug("1-1");
            }
            m_bus.plug("1-2", m_last);
            m_bus.unplug("1-2");
        });
        CFRunLoopRun();
        user.join();
    }

    const Modem m_modem = readModemFile(ZEVO_MODEMS "/composite.modem");
    const UsbDevice m_simple; // the same identifiers, but fewer events for each
    const UsbDevice m_last;
    CountingClient m_client;
    VirtualUsbBus m_bus;
};

TEST_F(HardwareServices, AThousandArrivalsAndRemovalsLeaveTheLiveObjectsWhereTheyWere) {
    m_bus.plug("2-1", m_modem.modem); // one stays throughout
    HWServicePnP::getInstance()->registerClient(&m_client);
    HWServicePnP::getInstance()->registerService();
    plugAndUnplug(1);
    const LinuxPlatform::LiveObjects before = LinuxPlatform::countLiveObjects();
    plugAndUnplug(1000);
    EXPECT_EQ(LinuxPlatform::countLiveObjects(), before);
    EXPECT_EQ(m_client.removalsOf(m_modem.modem), 1001);
    EXPECT_GE(m_client.arrivalsOf(m_modem.modem), 1001);
    HWServicePnP::getInstance()->unRegisterService();
}

} // namespace
