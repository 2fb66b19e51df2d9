#pragma once

#include "CallMarker.h"

#include <sstream>

/// A trace message that is composed with <<, and written when the stream is destroyed, under the same
/// conditions as TRACE_MESSAGE:
///
///     TRACE_STREAM(MSG_DEBUG) << "found " << count << " devices";
///
/// DELIBERATE: the collected text is read as a format, although there are no arguments: "%%" gives "%", and a
/// conversion prints as if its argument were 0 or an empty text. It never accesses memory that it does not
/// own.
/// Unlike TRACE_MESSAGE, it evaluates what is streamed even if nothing is written.
class TraceStream : public std::ostringstream {
public:
    /// @param marker  the enclosing call's; outlives the stream
    TraceStream(TraceMsgType type, CallMarker& marker);
    ~TraceStream() override;

private:
    TraceMsgType m_type;
    CallMarker& m_marker;
};
