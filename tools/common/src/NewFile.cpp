#include "NewFile.h"

#include "Tool.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace Zevo {
namespace {

[[noreturn]] void complain(const std::string& path) {
    throw std::runtime_error(path + " cannot be written: " + std::strerror(errno));
}

} // namespace

NewFile::NewFile(std::string path) : m_path(std::move(path)) {
    const HeldInterruptions held;
    m_file = open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (m_file < 0 && errno == EEXIST)
        throw UsageError(m_path + " is there already; give another file");
    if (m_file < 0)
        complain(m_path);
    m_unfinished.emplace(m_path);
}

NewFile::~NewFile() {
    if (m_file < 0)
        return;
    close(m_file);
    unlink(m_path.c_str());
}

void NewFile::write(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(m_file, text.data(), text.size());
        if (written >= 0)
            text.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            complain(m_path);
    }
}

void NewFile::keep() {
    const int file = m_file;
    m_file = -1;
    const bool isWhole = close(file) == 0;
    const int reason = errno;
    if (!isWhole)
        unlink(m_path.c_str());
    m_unfinished.reset();
    if (isWhole)
        return;
    errno = reason;
    complain(m_path);
}

} // namespace Zevo
