#include "LineCursor.h"

#include "CallMarker.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

static constexpr std::size_t FIRST_CAPACITY = 32768; // stays in the processor's first cache

/// Reads on until a line feed is there; false when none comes.
bool LineCursor::findInFile(std::size_t& length) {
    if (!m_file.isOpen())
        return false;
    TRACE_METHOD();
    while (length == std::string_view::npos) {
        const std::size_t searched = m_rest.size();
        if (!m_file.isOpen() || !readMore())
            return false;
        length = m_rest.find('\n', searched);
    }
    return true;
}

/// Appends some of the file to the rest; at the end of the text closes it, and says false.
bool LineCursor::readMore() {
    TRACE_METHOD();
    makeRoom();
    char* const end = m_buffer.get() + m_rest.size();
    ssize_t count = 0;
    do {
        count = read(m_file.get(), end, m_capacity - m_rest.size());
    } while (count < 0 && errno == EINTR);
    m_failed = count < 0;
    std::size_t length = count > 0 ? static_cast<std::size_t>(count) : 0;
    const void* const zero = std::memchr(end, '\0', length);
    if (zero != nullptr)
        length = static_cast<std::size_t>(static_cast<const char*>(zero) - end);
    m_rest = {m_buffer.get(), m_rest.size() + length};
    if (count <= 0 || zero != nullptr)
        m_file = FileDescriptor();
    return length > 0;
}

std::string LineCursor::takeRest() {
    TRACE_METHOD();
    std::string rest;
    do {
        rest += takeLast();
    } while (m_file.isOpen() && readMore());
    return rest;
}

bool LineCursor::finish() {
    TRACE_METHOD();
    do {
        takeLast();
    } while (m_file.isOpen() && readMore());
    return !m_failed;
}

/// Puts the rest at the start of the buffer, of a larger one where a line fills it.
void LineCursor::makeRoom() {
    TRACE_METHOD();
    if (m_rest.size() < m_capacity) {
        std::memmove(m_buffer.get(), m_rest.data(), m_rest.size());
    } else {
        const std::size_t capacity = m_capacity > 0 ? 2 * m_capacity : FIRST_CAPACITY;
        std::unique_ptr<char[]> larger(new char[capacity]);
        if (!m_rest.empty())
            std::memcpy(larger.get(), m_rest.data(), m_rest.size());
        m_buffer = std::move(larger);
        m_capacity = capacity;
    }
}
