#pragma once

#include "detail/FlushThread.h"

/// Writes the trace's queued lines once a second. Writes to whichever tracer is registered, so
/// it never touches one that was replaced.
class TracerFlushThread : public kf::detail::FlushThread {
public:
    ~TracerFlushThread() override;

protected:
    void flush() override;
};
