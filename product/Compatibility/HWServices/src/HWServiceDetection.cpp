#include "HWServiceDetection.h"

#include "CallMarker.h"
#include "ContractChecks.h"
#include "MAC/HWServiceDetectionIOKit.h"

#include <memory>

static const char KF_SOURCE[] = "product/Compatibility/HWServices/src/HWServiceDetection";

HWServiceDetection* HWServiceDetection::m_activeProvider = NULL;

HWServiceDetection::HWServiceDetection() {
    TRACE_CONSTRUCTOR("HWServiceDetection");
    m_activeProvider = NULL;
}

HWServiceDetection::~HWServiceDetection() {
    TRACE_DESTRUCTOR("HWServiceDetection");
    m_activeProvider = NULL;
}

HWServiceDetection* HWServiceDetection::getInstance() {
    TRACE_FUNCTION("HWServiceDetection::getInstance");
    if (m_activeProvider == NULL) {
        m_activeProvider = std::make_unique<HWServiceDetectionIOKit>().release();
        KF_ENSURE(m_activeProvider != NULL, 72);
    }
    return m_activeProvider;
}
