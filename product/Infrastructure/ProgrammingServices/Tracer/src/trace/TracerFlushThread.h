#pragma once

#include "detail/FlushThread.h"

/// Writes the trace's queued lines: the first at most a second after it was queued, all that wait then with it. Writes to
/// whichever tracer is registered, so it never touches one that was replaced.
class TracerFlushThread : public kf::detail::FlushThread {
public:
    TracerFlushThread();
    ~TracerFlushThread() override;

    /// What all tracers' flush threads wait for, since each may have to write any tracer's lines.
    static kf::detail::EventCount& getWork();

protected:
    void flush() override;
    bool hasWork() override;
};
