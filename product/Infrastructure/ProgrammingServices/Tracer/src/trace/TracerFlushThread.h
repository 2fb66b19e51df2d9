#pragma once

#include "detail/FlushThread.h"

/// Writes the trace's queued lines, at most a second after the first of them was queued. It writes for
/// whichever tracer is registered, so it never touches one that was replaced.
class TracerFlushThread : public kf::detail::FlushThread {
public:
    TracerFlushThread();
    ~TracerFlushThread() override;

    /// Notified when there may be work for any tracer: each flush thread may have to write any tracer's
    /// lines.
    static kf::detail::EventCount& getWork();

protected:
    void flush() override;
    bool hasWork() override;
};
