#include "ZevoLauncher.h"

#include "CallMarker.h"
#include "HWServiceDetection.h"
#include "HWServicePnP.h"
#include "HardwareId.h"
#include "KFException.h"
#include "MessageType.h"
#include "StringManagement.h"
#include "ZevoLauncherConfigReader.h"

#include <CoreFoundation/CoreFoundation.h>

#include <set>

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

/// DELIBERATE: the started applications stay when the modem leaves.
void ZevoLauncher::onDeviceRemoval(std::string&) {}

/// DELIBERATE: not traced itself; the two calls are.
void ZevoLauncher::onResumeStandbyMode() {
    if (isDeviceFound())
        processDevice();
}
