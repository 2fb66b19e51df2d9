#include "NewFile.h"

#include "Tool.h"
#include "detail/FileDescriptor.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>
#include <utility>

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
    if (m_file >= 0)
        close(m_file);
}

void NewFile::write(std::string_view text) {
    if (kf::detail::writeFully(m_file, text) != text.size())
        complain(m_path);
}

void NewFile::keep() {
    if (close(std::exchange(m_file, -1)) != 0)
        complain(m_path);
    m_unfinished->keep();
}

} // namespace Zevo
