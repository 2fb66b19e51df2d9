#include "HWServiceDetection.h"

#include "CallMarker.h"

HWServiceDetection* HWServiceDetection::m_activeProvider = nullptr;

HWServiceDetection::HWServiceDetection() {
    TRACE_CONSTRUCTOR("HWServiceDetection");
    m_activeProvider = nullptr;
}

HWServiceDetection::~HWServiceDetection() {
    TRACE_DESTRUCTOR("HWServiceDetection");
    m_activeProvider = nullptr;
}
