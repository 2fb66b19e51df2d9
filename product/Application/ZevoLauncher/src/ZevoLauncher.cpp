#include "ZevoLauncher.h"

#include "CallMarker.h"
#include "HWServiceDetection.h"
#include "HWServicePnP.h"
#include "HardwareId.h"
#include "KFException.h"
#include "LauncherApplication.h"
#include "MessageType.h"
#include "StringManagement.h"
#include "ZevoLauncherConfigReader.h"
#include "detail/CFOwned.h"

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

#include <set>

using namespace kf::detail;

// All bits set: every key that the Process Manager knows.
static const UInt32 ALL_INFORMATION = 0xFFFFFFFF;

static CFOwned<CFStringRef> makeString(const char* text) {
    return CFOwned<CFStringRef>(CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingASCII));
}

// Whether the process information holds exactly this text under the key.
static bool hasText(CFDictionaryRef information, CFStringRef key, CFStringRef text) {
    const CFTypeRef value = CFDictionaryGetValue(information, key);
    return value != nullptr && CFGetTypeID(value) == CFStringGetTypeID() &&
           CFStringCompare(static_cast<CFStringRef>(value), text, 0) == kCFCompareEqualTo;
}

ZevoLauncher::ZevoLauncher() {
    TRACE_CONSTRUCTOR("ZevoLauncher");
}

ZevoLauncher::~ZevoLauncher() {
    TRACE_DESTRUCTOR("ZevoLauncher");
}

void ZevoLauncher::init() {
    TRACE_METHOD();
    HWServiceDetection::getInstance()->init();
    HWServicePnP::getInstance()->init();
}

void ZevoLauncher::run() {
    TRACE_METHOD();
    try {
        ZevoLauncherConfigReader* configuration = ZevoLauncherConfigReader::getInstance();
        m_modemHIdToDetect = configuration->getModemHIdToDetect();
        m_cdRomHIdToDetect = configuration->getCdRomHIdToDetect();
        m_modemHIdToFind = configuration->getModemHIdToFind();
        TRACE_MESSAGE(MSG_DEBUG, "Configured : modem = %s, cdrom = %s, to be found = %s",
                      m_modemHIdToDetect.c_str(), m_cdRomHIdToDetect.c_str(), m_modemHIdToFind.c_str());
        m_modemHIdToFind = HardwareId::toDecimalPair(m_modemHIdToFind);
    } catch (const KFException& e) {
        TRACE_MESSAGE(MSG_ERROR, "Error accessing ZevoLauncher parameters.");
        TRACE_MESSAGE(MSG_ERROR, "%s", e.toString().c_str());
    }

    HWServicePnP::getInstance()->registerClient(this);
    HWServicePnP::getInstance()->registerService();
    if (isDeviceFound())
        processDevice();
    CFRunLoopRun();
}

bool ZevoLauncher::isDeviceFound() {
    TRACE_METHOD();
    TRACE_MESSAGE(MSG_DEBUG, " hardware id to be found : %s", m_modemHIdToFind.c_str());
    std::set<std::string> devices;
    HWServiceDetection::getInstance()->getConnectedDevices("USB", devices);
    for (const std::string& device : devices) {
        if (StringManagement::toLower(device) == m_modemHIdToFind) {
            TRACE_MESSAGE(MSG_DEBUG, "Device found in Modem list.");
            return true;
        }
    }
    return false;
}

void ZevoLauncher::onDeviceArrival(std::string& hardwareId) {
    TRACE_METHOD();
    TRACE_MESSAGE(MSG_DEBUG, "Detected hardware id : %s", hardwareId.c_str());
    TRACE_MESSAGE(MSG_DEBUG, "expected modem hardware id : %s", m_modemHIdToDetect.c_str());
    TRACE_MESSAGE(MSG_DEBUG, "expected cdrom hardware id : %s", m_cdRomHIdToDetect.c_str());
    if (StringManagement::compareNoCase(hardwareId, m_modemHIdToDetect) ||
        StringManagement::compareNoCase(hardwareId, m_cdRomHIdToDetect))
        processDevice();
}

// DELIBERATE: what was started stays when the modem goes.
void ZevoLauncher::onDeviceRemoval(std::string&) {}

// DELIBERATE: not traced by itself; the two calls are.
void ZevoLauncher::onResumeStandbyMode() {
    if (isDeviceFound())
        processDevice();
}

// The Process Manager, the File Manager and this call of Launch Services are deprecated since macOS 10.8 to
// 10.10. They are what 32-bit macOS has, and later systems still carry them.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

void ZevoLauncher::processDevice() {
    TRACE_METHOD();
    for (const LauncherApplication& application : LAUNCHER_APPLICATIONS) {
        if (isProcessRunning(application.path)) {
            TRACE_MESSAGE(MSG_DEBUG, "Executable already running : %s", application.path);
            continue;
        }
        TRACE_MESSAGE(MSG_DEBUG, "Start executable : %s", application.path);
        FSRef reference;
        OSStatus status =
            FSPathMakeRef(reinterpret_cast<const UInt8*>(application.path), &reference, nullptr);
        if (status != noErr) {
            TRACE_MESSAGE(MSG_DEBUG, "FSPathMakeRef failed : status = %d", static_cast<int>(status));
            continue;
        }
        LSApplicationParameters parameters = {};
        parameters.flags = application.flags;
        parameters.application = &reference;
        status = LSOpenApplication(&parameters, nullptr);
        if (status != noErr)
            TRACE_MESSAGE(MSG_ERROR, "LSOpenApplication failed : status = %d", static_cast<int>(status));
    }
}

bool ZevoLauncher::isProcessRunning(std::string bundlePath) {
    TRACE_METHOD();
    const CFOwned<CFStringRef> path = makeString(bundlePath.c_str());
    const CFOwned<CFStringRef> key = makeString("BundlePath");
    if (!path || !key)
        return false;
    ProcessSerialNumber process = {0, kNoProcess};
    for (;;) {
        const OSStatus status = GetNextProcess(&process);
        if (status == procNotFound)
            return false;
        // DELIBERATE: any other failure is asked again; the end of the list is the only way out.
        if (status != noErr)
            continue;
        const CFOwned<CFDictionaryRef> information(
            ProcessInformationCopyDictionary(&process, ALL_INFORMATION));
        if (information && hasText(information.get(), key.get(), path.get()))
            return true;
    }
}

#pragma GCC diagnostic pop
