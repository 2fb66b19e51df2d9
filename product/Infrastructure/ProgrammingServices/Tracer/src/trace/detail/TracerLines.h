#pragma once

#include "Tracer.h"
#include "detail/FileRing.h"

// How the tracer begins and ends a line, for the sources that write lines. Inline, since each traced call
// does both twice. Not in Tracer.h, which does not know the queue.

inline char* Tracer::beginLine(std::size_t room) {
    return isReporting() ? beginReportLine(room) : m_ring->beginLine(room);
}

inline void Tracer::endLine(const char* end) {
    if (isReporting() && endReportLine(end))
        return;
    if (m_ring->endLine(end))
        lineIsQueued();
}

inline void Tracer::lineIsQueued() {
    if (writesAtOnce())
        WriteOnFile();
    else
        m_ring->notifyFlushThread();
}
