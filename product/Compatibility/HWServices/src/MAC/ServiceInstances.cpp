// Chooses the implementation of each service: the one over IOKit. Compiled for both hosts: Linux has its
// calls, too.

#include "CallMarker.h"
#include "ContractChecks.h"
#include "HWServiceDetectionIOKit.h"
#include "HWServicePnPIOKit.h"
#include "detail/NeverDestroyed.h"

#include <memory>

using namespace kf::detail;

HWServicePnP* HWServicePnP::getInstance() {
    TRACE_FUNCTION("HWServicePnP::getInstance");
    static const char KF_SOURCE[] = "product/Compatibility/HWServices/src/HWServicePnP";
    if (m_activeProvider == nullptr) {
        static NeverDestroyed<HWServicePnPIOKit> provider;
        m_activeProvider = &provider.get();
        KF_ENSURE(m_activeProvider != NULL, 80);
    }
    return m_activeProvider;
}

HWServiceDetection* HWServiceDetection::getInstance() {
    TRACE_FUNCTION("HWServiceDetection::getInstance");
    static const char KF_SOURCE[] = "product/Compatibility/HWServices/src/HWServiceDetection";
    if (m_activeProvider == nullptr) {
        m_activeProvider = std::make_unique<HWServiceDetectionIOKit>().release(); // callers may delete it
        KF_ENSURE(m_activeProvider != NULL, 72);
    }
    return m_activeProvider;
}
