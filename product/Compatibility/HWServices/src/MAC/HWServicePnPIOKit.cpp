// Compiled for both hosts: Linux has IOKit's calls, too.

#include "HWServicePnPIOKit.h"

#include "CallMarker.h"
#include "ContractChecks.h"
#include "HWServicePnPClient.h"
#include "LogMessage.h"
#include "MessageType.h"
#include "detail/CFOwned.h"
#include "detail/IOObjectHandle.h"
#include "detail/RegistryReading.h"
#include "detail/RegistryWalk.h"

#include <IOKit/IOKitKeys.h>
#include <IOKit/IOMessage.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <string>

using namespace kf::detail;

static const char KF_SOURCE[] = "product/Compatibility/HWServices/src/MAC/HWServicePnPIOKit";

/// Also logged: otherwise a launcher that never does anything would give no sign of the reason.
static const char DEAF[] = "No device that arrives or leaves from now on will be noticed.";

namespace {

using Clients = std::vector<HWServicePnPClient*>;

/// The context of the top-level notification.
struct RegistrationContext {
    Clients* clients;
};

/// The context of the notification for the services below one device. Its iterator is the registration.
struct ChildWatchRecord {
    Clients* clients;
    SInt32 vendor;
    SInt32 product;
    std::string devicePath;
    IOObjectHandle iterator;
};

/// The context of one device's interest notification: created when the device is matched, freed when it is
/// terminated.
struct DeviceRecord {
    Clients* clients;
    SInt32 vendor;
    SInt32 product;
    IOObjectHandle interest;
    std::unique_ptr<ChildWatchRecord> child;
};

} // namespace

/// One service per process, one port, one top-level iterator. Plain values: nothing may release them at exit,
/// when their run loop no longer runs.
static IONotificationPortRef notificationPort = nullptr;
static io_iterator_t topLevelIterator = IO_OBJECT_NULL;

namespace {

std::string formatHardwareId(SInt32 vendor, SInt32 product) {
    char buffer[128] = {};
    std::snprintf(buffer, sizeof buffer, "USB#Vid_%04x&Pid_%04x", static_cast<unsigned>(vendor),
                  static_cast<unsigned>(product));
    return buffer;
}

/// Leaves the id as it is if the device lacks the property.
void readId(io_service_t device, CFStringRef key, SInt32& id) {
    const CFOwned<CFTypeRef> property(
        IORegistryEntrySearchCFProperty(device, kIOServicePlane, key, kCFAllocatorDefault, 0));
    readNumber(property.get(), id);
}

/// Both ids and no class: matches the device itself, and the services below it that have these ids or ignore
/// the keys. It may also match any other service of the machine whose class accepts unknown keys.
CFOwned<CFMutableDictionaryRef> makeMatching(SInt32 vendor, SInt32 product) {
    CFOwned<CFMutableDictionaryRef> matching(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    setNumber(matching.get(), CFSTR("idVendor"), vendor);
    setNumber(matching.get(), CFSTR("idProduct"), product);
    return matching;
}

/// Notifies every client, in the order of registration. No exception may pass through IOKit, which has called
/// us, and a failure of one client must not keep the others from being notified.
void tellClients(const Clients& clients, void (HWServicePnPClient::*event)(std::string&), std::string hid) {
    TRACE_FUNCTION("tellClients");
    for (HWServicePnPClient* client : clients) {
        try {
            (client->*event)(hid);
        } catch (const std::exception& e) {
            TRACE_MESSAGE(MSG_ERROR, "A client failed : %s.", e.what());
        }
    }
}

/// Registers the notification for the services below a device, and arms it.
void watchChildren(DeviceRecord& record, const std::string& devicePath, bool initial) {
    TRACE_FUNCTION("watchChildren");
    CFOwned<CFMutableDictionaryRef> matching = makeMatching(record.vendor, record.product);
    record.child = std::make_unique<ChildWatchRecord>();
    ChildWatchRecord& child = *record.child;
    child.clients = record.clients;
    child.vendor = record.vendor;
    child.product = record.product;
    child.devicePath = devicePath;
    const kern_return_t result =
        IOServiceAddMatchingNotification(notificationPort, kIOMatchedNotification, matching.release(),
                                         ChildDeviceAddedCallback, &child, child.iterator.receive());
    if (result == KERN_SUCCESS)
        ChildDeviceAdded(&child, child.iterator.get(), initial);
    else
        TRACE_MESSAGE(MSG_ERROR, "IOServiceAddMatchingNotification returned 0x%08x.",
                      static_cast<unsigned>(result));
}

/// Creates a device's record and all its notifications. Consumes the reference to the device; returns its
/// hardware identifier.
std::string watchDevice(Clients* clients, io_service_t service, bool initial) {
    TRACE_FUNCTION("watchDevice");
    const IOObjectHandle device(service);
    auto record = std::make_unique<DeviceRecord>();
    record->clients = clients;
    const std::string name = readName(device.get());
    std::string path;
    readPath(device.get(), path);
    readId(device.get(), CFSTR("idVendor"), record->vendor);
    readId(device.get(), CFSTR("idProduct"), record->product);
    const std::string hid = formatHardwareId(record->vendor, record->product);
    TRACE_MESSAGE(MSG_DEBUG, "Device = %s, HID = %s, path = %s.", name.c_str(), hid.c_str(), path.c_str());

    const kern_return_t result =
        IOServiceAddInterestNotification(notificationPort, device.get(), kIOGeneralInterest,
                                         DeviceNotification, record.get(), record->interest.receive());
    if (result != KERN_SUCCESS) {
        // Already gone. No notification would ever free the record, so it is dropped now.
        TRACE_MESSAGE(MSG_ERROR, "IOServiceAddInterestNotification returned 0x%08x.",
                      static_cast<unsigned>(result));
        return hid;
    }
    watchChildren(*record, path, initial);
    // IOKit owns it from here on; DeviceNotification() takes it back.
    static_cast<void>(record.release());
    return hid;
}

} // namespace

HWServicePnPIOKit::HWServicePnPIOKit() : m_runLoopSource(nullptr) {
    TRACE_CONSTRUCTOR("HWServicePnPIOKit");
}

HWServicePnPIOKit::~HWServicePnPIOKit() {
    TRACE_DESTRUCTOR("HWServicePnPIOKit");
}

void HWServicePnPIOKit::init() {
    TRACE_METHOD();
}

bool HWServicePnPIOKit::isAvailable() {
    TRACE_METHOD();
    return false;
}

// The default master port has this name on every macOS; the newer one is missing before macOS 12.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

void HWServicePnPIOKit::registerService() {
    TRACE_METHOD();
    // Kept until the process ends, because IOKit keeps the pointer.
    static std::vector<std::unique_ptr<RegistrationContext>> contexts;
    contexts.push_back(std::make_unique<RegistrationContext>());
    RegistrationContext* const context = contexts.back().get();
    context->clients = &m_clients;

    CFOwned<CFMutableDictionaryRef> matching(IOServiceMatching("IOUSBDevice"));
    if (!matching) {
        TRACE_MESSAGE(MSG_DEBUG, "IOServiceMatching returned NULL.\n");
        return;
    }
    notificationPort = IONotificationPortCreate(kIOMasterPortDefault);
    if (notificationPort == nullptr) {
        TRACE_MESSAGE(MSG_ERROR, "IONotificationPortCreate returned NULL.");
        return;
    }
    m_runLoopSource = IONotificationPortGetRunLoopSource(notificationPort);
    CFRunLoopAddSource(CFRunLoopGetCurrent(), m_runLoopSource, kCFRunLoopCommonModes);

    const kern_return_t result =
        IOServiceAddMatchingNotification(notificationPort, kIOMatchedNotification, matching.release(),
                                         DeviceAddedCallback, context, &topLevelIterator);
    if (result == KERN_SUCCESS)
        DeviceAdded(context, topLevelIterator, true);
    else
        TRACE_MESSAGE(MSG_ERROR, "IOServiceAddMatchingNotification returned 0x%08x.",
                      static_cast<unsigned>(result));
    if (IONotificationPortGetMachPort(notificationPort) == MACH_PORT_NULL) {
        TRACE_MESSAGE(MSG_ERROR, "%s", DEAF);
        LOG_MESSAGE(MSG_ERROR, "%s", DEAF);
    }
}

#pragma GCC diagnostic pop

void HWServicePnPIOKit::unRegisterService() {
    TRACE_METHOD();
    if (notificationPort == nullptr)
        return;
    CFRunLoopRemoveSource(CFRunLoopGetCurrent(), m_runLoopSource, kCFRunLoopCommonModes);
    m_runLoopSource = nullptr;
    if (topLevelIterator != IO_OBJECT_NULL)
        IOObjectRelease(topLevelIterator);
    topLevelIterator = IO_OBJECT_NULL;
    IONotificationPortDestroy(notificationPort);
    notificationPort = nullptr;
}

void DeviceAddedCallback(void* refCon, io_iterator_t it) noexcept {
    TRACE_FUNCTION("DeviceAddedCallback");
    DeviceAdded(refCon, it, false);
}

void DeviceAdded(void* refCon, io_iterator_t it, bool initial) {
    TRACE_FUNCTION("DeviceAdded");
    Clients* const clients = static_cast<RegistrationContext*>(refCon)->clients;
    RegistryWalk walk(it);
    do {
        while (const io_service_t device = walk.next()) {
            const std::string hid = watchDevice(clients, device, initial);
            if (!initial)
                tellClients(*clients, &HWServicePnPClient::onDeviceArrival, hid);
        }
    } while (walk.beginsAgain());
}

void ChildDeviceAddedCallback(void* refCon, io_iterator_t it) noexcept {
    TRACE_FUNCTION("ChildDeviceAddedCallback");
    ChildDeviceAdded(refCon, it, false);
}

void ChildDeviceAdded(void* refCon, io_iterator_t it, bool initial) {
    TRACE_FUNCTION("ChildDeviceAdded");
    KF_ASSERT(refCon != NULL, 41);
    if (refCon == nullptr)
        return;
    const ChildWatchRecord& record = *static_cast<const ChildWatchRecord*>(refCon);
    RegistryWalk walk(it);
    do {
        while (const io_service_t next = walk.next()) {
            const IOObjectHandle service(next);
            std::string path;
            readPath(service.get(), path);
            // The ids alone do not distinguish two equal devices, and many classes do not even compare them;
            // the path does.
            if (isBelow(path, record.devicePath) && !initial)
                tellClients(*record.clients, &HWServicePnPClient::onDeviceArrival,
                            formatHardwareId(record.vendor, record.product));
        }
    } while (walk.beginsAgain());
}

void DeviceNotification(void* refCon, io_service_t, natural_t messageType, void*) noexcept {
    TRACE_FUNCTION("DeviceNotification");
    if (messageType != kIOMessageServiceIsTerminated)
        return;
    const std::unique_ptr<DeviceRecord> record(static_cast<DeviceRecord*>(refCon));
    const std::string hid = formatHardwareId(record->vendor, record->product);
    TRACE_MESSAGE(MSG_DEBUG, "HID = %s.", hid.c_str());
    tellClients(*record->clients, &HWServicePnPClient::onDeviceRemoval, hid);
    TRACE_MESSAGE(MSG_DEBUG, "PnP called for onDeviceRemoval.");
    record->interest.reset();
    record->child->iterator.reset();
    TRACE_MESSAGE(MSG_DEBUG, "IOObjectRelease called.");
    record->child.reset();
}
