#include "HWServicePnP.h"

#include "CallMarker.h"
#include "ContractChecks.h"
#include "MAC/HWServicePnPIOKit.h"

#include <memory>

static const char KF_SOURCE[] = "product/Compatibility/HWServices/src/HWServicePnP";

HWServicePnP* HWServicePnP::m_activeProvider = NULL;

HWServicePnP::HWServicePnP() {
    TRACE_CONSTRUCTOR("HWServicePnP");
}

HWServicePnP::~HWServicePnP() {
    TRACE_DESTRUCTOR("HWServicePnP");
}

HWServicePnP* HWServicePnP::getInstance() {
    TRACE_FUNCTION("HWServicePnP::getInstance");
    if (m_activeProvider == NULL) {
        m_activeProvider = std::make_unique<HWServicePnPIOKit>().release();
        KF_ENSURE(m_activeProvider != NULL, 80);
    }
    return m_activeProvider;
}

void HWServicePnP::registerClient(HWServicePnPClient* client) {
    TRACE_METHOD();
    m_clients.push_back(client);
}
