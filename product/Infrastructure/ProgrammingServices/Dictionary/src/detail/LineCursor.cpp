#include "detail/LineCursor.h"

#include "CallMarker.h"

#include <cerrno>
#include <unistd.h>

namespace kf::detail {

static constexpr std::size_t BLOCK = 32768; // fits into the processor's L1 cache

/// Reads on until there is a line feed; false if none comes.
bool LineCursor::findInFile(std::size_t& length) {
    if (!m_file.isOpen())
        return false;
    TRACE_FUNCTION("LineCursor::findInFile");
    std::size_t searched = 0;
    do {
        searched = m_rest.size();
        if (!readMore())
            return false;
        length = m_rest.find('\n', searched);
    } while (length == std::string_view::npos);
    return true;
}

/// Appends a block of the file to the rest; false if there is none. Closes the file at the end of the text.
bool LineCursor::readMore() {
    if (!m_file.isOpen())
        return false;
    TRACE_FUNCTION("LineCursor::readMore");
    m_buffer.erase(0, m_buffer.size() - m_rest.size());
    const std::size_t size = m_buffer.size();
    m_buffer.resize(size + BLOCK);
    ssize_t count = 0;
    do {
        count = read(m_file.get(), m_buffer.data() + size, BLOCK);
    } while (count < 0 && errno == EINTR);
    m_failed = count < 0;
    m_buffer.resize(size + static_cast<std::size_t>(count > 0 ? count : 0));
    const std::size_t zero = m_buffer.find('\0', size);
    if (zero != std::string::npos)
        m_buffer.resize(zero);
    m_rest = m_buffer;
    if (count <= 0 || zero != std::string::npos)
        m_file = FileDescriptor();
    return m_buffer.size() > size;
}

std::string LineCursor::takeRest() {
    TRACE_FUNCTION("LineCursor::takeRest");
    std::string rest;
    do {
        rest += takeLast();
    } while (readMore());
    return rest;
}

bool LineCursor::finish() {
    TRACE_FUNCTION("LineCursor::finish");
    do {
        takeLast();
    } while (readMore());
    return !m_failed;
}

} // namespace kf::detail
