#pragma once

#include "detail/FlushThread.h"

/// Writes the trace's queued lines once a second. Reaches the tracer through Tracer::GetInstance, so that a
/// tracer that is being replaced is let go.
class TracerFlushThread : public kf::detail::FlushThread {
public:
    ~TracerFlushThread() override;

protected:
    void flush() override;
};
