#include "LineReader.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace Zevo {
namespace {

[[noreturn]] void failToRead(const std::string& path) {
    throw std::runtime_error((path == "-" ? "standard input" : path) +
                             ": cannot be read: " + std::strerror(errno));
}

int openFile(const std::string& path, std::FILE* opened) {
    const int file = opened != nullptr ? dup(fileno(opened))
                     : path == "-"     ? dup(STDIN_FILENO)
                                       : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        failToRead(path);
    return file;
}

} // namespace

LineReader::LineReader(const std::string& path) : LineReader(path, nullptr) {}

LineReader::LineReader(const std::string& path, std::FILE* open)
    : m_path(path), m_file(openFile(path, open)), m_buffer(2 * LONGEST_LINE) {
    if (open != nullptr && lseek(m_file, 0, SEEK_SET) < 0)
        failToRead(path);
}

LineReader::LineReader(const std::string& path, std::uint64_t position) : LineReader(path) {
    if (lseek(m_file, static_cast<off_t>(position), SEEK_SET) < 0)
        failToRead(path);
    m_position = position;
}

LineReader::~LineReader() {
    close(m_file);
}

bool LineReader::next(std::string_view& line) {
    for (;;) {
        const char* const start = m_buffer.data() + m_begin;
        const void* const found = std::memchr(m_buffer.data() + m_scanned, '\n', m_end - m_scanned);
        const std::size_t length = found == nullptr
                                       ? m_end - m_begin
                                       : static_cast<std::size_t>(static_cast<const char*>(found) - start);
        if (length > LONGEST_LINE) {
            line = std::string_view(start, LONGEST_LINE);
            m_begin += LONGEST_LINE;
            m_scanned = m_begin;
            return true;
        }
        if (found != nullptr) {
            line = std::string_view(start, length);
            m_begin += length + 1;
            m_scanned = m_begin;
            return true;
        }
        m_scanned = m_end;
        if (!readMore())
            return false;
    }
}

bool LineReader::takeRest(std::string_view& line) {
    if (m_begin == m_end)
        return false;
    line = std::string_view(m_buffer.data() + m_begin, m_end - m_begin);
    m_begin = m_scanned = m_end;
    return true;
}

bool LineReader::readMore() {
    if (m_buffer.size() - m_end < LONGEST_LINE / 2) {
        std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_scanned -= m_begin;
        m_begin = 0;
    }
    ssize_t length = 0;
    do {
        length = read(m_file, m_buffer.data() + m_end, m_buffer.size() - m_end);
    } while (length < 0 && errno == EINTR);
    if (length < 0)
        failToRead(m_path);
    if (m_path == "-" && m_position == 0 && length > 1 && m_buffer[0] == '\x1f' && m_buffer[1] == '\x8b')
        throw std::runtime_error("standard input is packed; give the bundle by its name");
    m_end += static_cast<std::size_t>(length);
    m_position += static_cast<std::uint64_t>(length);
    return length > 0;
}

} // namespace Zevo
