// Compiled for both hosts: Linux has IOKit's calls, too.

#include "HWServiceDetectionIOKit.h"

#include "CallMarker.h"
#include "Dictionary.h"
#include "MessageType.h"
#include "StringManagement.h"
#include "detail/CFOwned.h"
#include "detail/IOObjectHandle.h"
#include "detail/IntegerText.h"
#include "detail/RegistryReading.h"
#include "detail/RegistryWalk.h"

#include <IOKit/IOKitKeys.h>

#include <cstdio>
#include <initializer_list>
#include <map>
#include <regex.h>
#include <utility>

using namespace kf::detail;

namespace {

/// What the description asks for.
struct Wanted {
    std::string port;
    std::string modemPort;
    std::string networkAdapter;
};

/// What was found, by the keys of a result; later findings replace earlier ones.
using Findings = std::map<std::string, std::string>;

std::string textOf(const Dictionary& dictionary, const char* key) {
    const char* const text = dictionary.hasKey(key) ? dictionary.getValue(std::string(key)) : nullptr;
    return text == nullptr ? std::string() : text;
}

/// POSIX basic syntax, in any letter case, anywhere in the name. An empty pattern matches nothing, nor does
/// one that does not compile.
bool matchesPattern(const std::string& name, const std::string& pattern) {
    regex_t compiled;
    if (pattern.empty() || regcomp(&compiled, pattern.c_str(), REG_ICASE | REG_NOSUB) != 0)
        return false;
    const bool isMatch = regexec(&compiled, name.c_str(), 0, nullptr, 0) == 0;
    regfree(&compiled);
    return isMatch;
}

/// Null if the entry's properties cannot be read.
CFOwned<CFMutableDictionaryRef> readProperties(io_registry_entry_t entry) {
    CFMutableDictionaryRef properties = nullptr;
    if (IORegistryEntryCreateCFProperties(entry, &properties, kCFAllocatorDefault, 0) != KERN_SUCCESS)
        properties = nullptr;
    return CFOwned<CFMutableDictionaryRef>(properties);
}

/// A text property of the entry or of something below it; empty if there is none.
std::string searchText(io_registry_entry_t entry, CFStringRef key) {
    const CFOwned<CFTypeRef> property(IORegistryEntrySearchCFProperty(
        entry, kIOServicePlane, key, kCFAllocatorDefault, kIORegistryIterateRecursively));
    std::string text;
    readText(property.get(), text);
    return text;
}

bool isWantedPort(const std::string& name, const Wanted& wanted) {
    return StringManagement::compareNoCase(name, wanted.port) ||
           StringManagement::compareNoCase(name, wanted.modemPort) || matchesPattern(name, wanted.port) ||
           matchesPattern(name, wanted.modemPort);
}

void addTo(Findings& findings, const Findings& later) {
    for (const auto& [key, value] : later)
        findings[key] = value;
}

void storePort(const std::string& name, const std::string& path, const Wanted& wanted, Findings& found) {
    TRACE_FUNCTION("storePort");
    if (StringManagement::compareNoCase(name, wanted.port)) {
        found["DetectedPortName"] = path;
    } else if (StringManagement::compareNoCase(name, wanted.modemPort)) {
        found["DetectedModemPortName"] = path;
    } else {
        // DELIBERATE: checked independently, so that one port which matches both patterns serves as both.
        if (matchesPattern(name, wanted.port))
            found["DetectedPortName"] = path;
        if (matchesPattern(name, wanted.modemPort))
            found["DetectedModemPortName"] = path;
    }
}

void examineSerialPort(io_registry_entry_t entry, const Wanted& wanted, Findings& found) {
    TRACE_FUNCTION("examineSerialPort");
    const std::string name = searchText(entry, CFSTR("IOTTYDevice"));
    TRACE_MESSAGE(MSG_DEBUG, "Port Name : %s ", name.c_str());
    if (name.empty() || !isWantedPort(name, wanted))
        return;
    const std::string path = searchText(entry, CFSTR("IOCalloutDevice"));
    TRACE_MESSAGE(MSG_DEBUG, "CallOutDevice path : %s", path.c_str());
    storePort(name, path, wanted, found);
}

/// The network stack is one entry that all interfaces share. The device's own interfaces are those of its
/// parents that are below the device.
Findings examineNetworkStack(io_registry_entry_t stack, const std::string& devicePath) {
    TRACE_FUNCTION("examineNetworkStack");
    Findings found;
    IOObjectHandle parents;
    IORegistryEntryGetParentIterator(stack, kIOServicePlane, parents.receive());
    if (!parents)
        return found;
    RegistryWalk walk(parents.get());
    do {
        found.clear();
        while (const io_registry_entry_t next = walk.next()) {
            const IOObjectHandle parent(next);
            std::string path;
            readPath(parent.get(), path);
            if (!isBelow(path, devicePath))
                continue;
            const CFOwned<CFMutableDictionaryRef> properties = readProperties(parent.get());
            std::string name;
            if (properties && readText(CFDictionaryGetValue(properties.get(), CFSTR("BSD Name")), name))
                found["DetectedNetworkAdapterName"] = name;
        }
    } while (walk.beginsAgain());
    return found;
}

void examineDescendant(io_registry_entry_t entry, const std::string& devicePath, const Wanted& wanted,
                       Findings& found) {
    TRACE_FUNCTION("examineDescendant");
    const CFOwned<CFMutableDictionaryRef> properties = readProperties(entry);
    if (!properties)
        return;
    std::string entryClass;
    readText(CFDictionaryGetValue(properties.get(), CFSTR(kIOClassKey)), entryClass);
    if (entryClass == "IOSerialBSDClient" && !(wanted.port.empty() && wanted.modemPort.empty()))
        examineSerialPort(entry, wanted, found);
    else if (entryClass == "IONetworkStack" && !wanted.networkAdapter.empty())
        addTo(found, examineNetworkStack(entry, devicePath));
}

Findings examineDevice(io_service_t device, const Wanted& wanted) {
    TRACE_FUNCTION("examineDevice");
    const std::string name = readName(device);
    TRACE_MESSAGE(MSG_DEBUG, "deviceName: %s", name.c_str());
    std::string path;
    const kern_return_t result = readPath(device, path);
    if (result != KERN_SUCCESS)
        TRACE_MESSAGE(MSG_DEBUG, "device IORegistryEntryGetPath returned 0x%08x.",
                      static_cast<unsigned>(result));
    else
        TRACE_MESSAGE(MSG_DEBUG, "Device Path : %s", path.c_str());

    Findings found;
    IOObjectHandle descendants;
    IORegistryEntryCreateIterator(device, kIOServicePlane, kIORegistryIterateRecursively,
                                  descendants.receive());
    if (!descendants)
        return found;
    RegistryWalk walk(descendants.get());
    do {
        found.clear();
        while (const io_registry_entry_t entry = walk.next()) {
            const IOObjectHandle descendant(entry);
            examineDescendant(descendant.get(), path, wanted, found);
        }
    } while (walk.beginsAgain());
    return found;
}

/// The device's ids as a pair in the form of getConnectedDevices(); empty if it lacks one.
std::string readIdPair(io_service_t device) {
    TRACE_FUNCTION("readIdPair");
    const CFOwned<CFMutableDictionaryRef> properties = readProperties(device);
    if (!properties)
        return std::string();
    const CFTypeRef vendor = CFDictionaryGetValue(properties.get(), CFSTR("idVendor"));
    const CFTypeRef product = CFDictionaryGetValue(properties.get(), CFSTR("idProduct"));
    if (vendor == nullptr || product == nullptr)
        return std::string();
    const CFOwned<CFStringRef> pair(
        CFStringCreateWithFormat(kCFAllocatorDefault, nullptr, CFSTR("%@|%@"), vendor, product));
    char text[256] = {};
    if (!pair || !CFStringGetCString(pair.get(), text, sizeof text, kCFStringEncodingUTF8))
        return std::string();
    return text;
}

} // namespace

HWServiceDetectionIOKit::HWServiceDetectionIOKit() {
    TRACE_CONSTRUCTOR("HWServiceDetectionIOKit");
}

HWServiceDetectionIOKit::~HWServiceDetectionIOKit() {
    TRACE_DESTRUCTOR("HWServiceDetectionIOKit");
}

void HWServiceDetectionIOKit::init() {
    TRACE_METHOD();
}

bool HWServiceDetectionIOKit::isAvailable() {
    TRACE_METHOD();
    return true;
}

void HWServiceDetectionIOKit::registerService() {
    TRACE_METHOD();
}

void HWServiceDetectionIOKit::unRegisterService() {
    TRACE_METHOD();
}

// The default master port has this name on every macOS; the newer one is missing before macOS 12.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

/// The USB devices with these numbers. @return the failure as a text; empty on success
std::string findDevices(std::initializer_list<std::pair<CFStringRef, SInt32>> numbers,
                        IOObjectHandle& devices) {
    CFOwned<CFMutableDictionaryRef> matching(IOServiceMatching("IOUSBDevice"));
    if (!matching)
        return "IOServiceMatching returned NULL.";
    for (const auto& [key, number] : numbers)
        setNumber(matching.get(), key, number);
    const kern_return_t result =
        IOServiceGetMatchingServices(kIOMasterPortDefault, matching.release(), devices.receive());
    if (result == KERN_SUCCESS)
        return std::string();
    char failure[64];
    std::snprintf(failure, sizeof failure, "IOServiceGetMatchingServices returned 0x%08x.",
                  static_cast<unsigned>(result));
    return failure;
}

} // namespace

void HWServiceDetectionIOKit::getConnectedDevices(std::string, std::set<std::string>& devices) {
    TRACE_METHOD();
    IOObjectHandle iterator;
    const std::string failure = findDevices({}, iterator);
    if (!failure.empty()) {
        TRACE_MESSAGE(MSG_ERROR, "%s", failure.c_str());
        return;
    }
    std::set<std::string> pairs;
    RegistryWalk walk(iterator.get());
    do {
        pairs.clear();
        while (const io_service_t next = walk.next()) {
            const IOObjectHandle device(next);
            const std::string pair = readIdPair(device.get());
            if (pair.empty())
                continue;
            TRACE_MESSAGE(MSG_DEBUG, "Connected device : %s", pair.c_str());
            pairs.insert(pair);
        }
    } while (walk.beginsAgain());
    devices.insert(pairs.begin(), pairs.end());
}

void HWServiceDetectionIOKit::detectDeviceHID(Dictionary& device, Dictionary& result) {
    TRACE_METHOD();
    const SInt32 vendor = integerOf(textOf(device, "VendorID"));
    const SInt32 product = integerOf(textOf(device, "ProductID"));
    TRACE_MESSAGE(MSG_DEBUG, "Looking for devices matching vendor ID=%ld and product ID=%ld.",
                  static_cast<long>(vendor), static_cast<long>(product));
    IOObjectHandle iterator;
    const std::string failure =
        findDevices({{CFSTR("idVendor"), vendor}, {CFSTR("idProduct"), product}}, iterator);
    if (!failure.empty()) {
        TRACE_MESSAGE(MSG_ERROR, "%s", failure.c_str());
        return;
    }
    Dictionary found;
    DeviceAdded(nullptr, iterator.get(), device, found);
    if (found.getFirstItem() == nullptr)
        return;
    if (device.hasKey("ModemHID"))
        result.addValue("DetectedModemName", textOf(device, "ModemHID"));
    for (const char* key : {"DetectedPortName", "DetectedModemPortName", "DetectedNetworkAdapterName"})
        if (found.hasKey(key))
            result.addValue(key, textOf(found, key));
}

#pragma GCC diagnostic pop

void HWServiceDetectionIOKit::DeviceAdded(void*, io_iterator_t it, Dictionary& device, Dictionary& found) {
    TRACE_METHOD();
    const Wanted wanted = {textOf(device, "PortHID"), textOf(device, "ModemPortHID"),
                           textOf(device, "NetworkAdapterHID")};
    Findings findings;
    RegistryWalk walk(it);
    do {
        findings.clear();
        while (const io_service_t next = walk.next()) {
            const IOObjectHandle service(next);
            addTo(findings, examineDevice(service.get(), wanted));
        }
    } while (walk.beginsAgain());
    for (const auto& [key, value] : findings)
        found.addValue(key, value);
}
