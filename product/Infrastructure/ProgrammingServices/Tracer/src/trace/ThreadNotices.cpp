#include "detail/ThreadNotices.h"

#include "Tracer.h"

namespace kf::detail {

void announceThreadBegin(const char* name) {
    if (Tracer::isActive())
        Tracer::GetInstance()->BeginningOfThread(name);
}

void announceThreadEnd() {
    if (Tracer::isActive())
        Tracer::GetInstance()->EndOfThread();
}

} // namespace kf::detail
