#include "TraceStream.h"

#include "detail/ArgumentlessFormat.h"

using namespace kf::detail;

TraceStream::TraceStream(TraceMsgType type, CallMarker& marker) : m_type(type), m_marker(marker) {}

TraceStream::~TraceStream() {
    if (m_marker.isMessageWritten(m_type))
        m_marker.PrintMsg(m_type, "%s", formatWithoutArguments(str()).c_str());
}
