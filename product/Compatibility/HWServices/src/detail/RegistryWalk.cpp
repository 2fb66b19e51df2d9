// Compiled for both hosts: Linux has IOKit's calls, too.

#include "detail/RegistryWalk.h"

#include "CallMarker.h"
#include "MessageType.h"

namespace kf::detail {

static const int MOST_ATTEMPTS = 10;

bool RegistryWalk::reset() {
    TRACE_METHOD();
    if (m_attempts == MOST_ATTEMPTS) {
        TRACE_MESSAGE(MSG_ERROR, "The registry changed during each of %d walks.", m_attempts);
        return false;
    }
    ++m_attempts;
    TRACE_MESSAGE(MSG_DEBUG, "The registry has changed : walk %d begins.", m_attempts);
    IOIteratorReset(m_iterator);
    return true;
}

} // namespace kf::detail
