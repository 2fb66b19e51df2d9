#include "HWServicePnP.h"

#include "CallMarker.h"

HWServicePnP* HWServicePnP::m_activeProvider = nullptr;

HWServicePnP::HWServicePnP() {
    TRACE_CONSTRUCTOR("HWServicePnP");
}

HWServicePnP::~HWServicePnP() {
    TRACE_DESTRUCTOR("HWServicePnP");
}

void HWServicePnP::registerClient(HWServicePnPClient* client) {
    TRACE_METHOD();
    m_clients.push_back(client);
}
