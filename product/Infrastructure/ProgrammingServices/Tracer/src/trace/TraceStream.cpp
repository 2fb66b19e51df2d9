#include "TraceStream.h"

#include "detail/ArgumentlessFormat.h"

TraceStream::TraceStream(TraceMsgType type, CallMarker& marker) : m_type(type), m_marker(marker) {}

TraceStream::~TraceStream() {
    static constexpr QuickFormat AS_IT_STANDS("%s");
    if (m_marker.isMessageWritten(m_type))
        m_marker.PrintMsg(m_type, AS_IT_STANDS, "%s", formatWithoutArguments(str()).c_str());
}
