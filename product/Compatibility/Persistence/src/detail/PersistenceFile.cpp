#include "detail/PersistenceFile.h"

#include "CallMarker.h"
#include "FileSystemManagement.h"
#include "FolderNames.h"
#include "detail/FileDescriptor.h"
#include "detail/FileLock.h"
#include "detail/FileReplacement.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <new>
#include <stdexcept>

namespace kf::detail {

namespace {

/// No store comes near it. A larger file (which takes no disk space if it is sparse) is not read into memory,
/// and none is written.
const std::size_t MAX_SIZE = INT_MAX - 1;

std::string withFolder(const std::string& path) {
    if (!FileSystemManagement::existFolder(path))
        FileSystemManagement::createFolder(path);
    return path;
}

} // namespace

PersistenceFile::PersistenceFile(const std::string& scope, const std::string& domain, t_PersistenceMode mode,
                                 const std::string& suffix) {
    TRACE_CONSTRUCTOR("PersistenceFile");
    m_path = withFolder(withFolder(familyFolder(mode)) + "/" + scope + "/") + domain + suffix;
}

PersistenceFile::~PersistenceFile() {
    TRACE_DESTRUCTOR("PersistenceFile");
}

bool PersistenceFile::read(std::string& content) const {
    TRACE_METHOD();
    content.clear();
    const FileDescriptor file = openRegularFile(m_path);
    if (!file.isOpen() && errno == ENOENT)
        return true;
    const bool isRead = whileMemoryLasts([&] {
        if (file.isOpen() && FileReplacement::waitUntilWhole(file.get()) &&
            readWhole(file.get(), MAX_SIZE, content))
            return true;
        TRACE_MESSAGE(MSG_ERROR, "Cannot read parameter file '%s' : %s", m_path.c_str(), strerror(errno));
        return false;
    });
    if (!isRead)
        content.clear();
    return isRead;
}

bool PersistenceFile::write(const std::string& content) const {
    TRACE_METHOD();
    unsigned lacks = 0;
    if (content.size() > MAX_SIZE) {
        errno = EFBIG;
    } else if (FileReplacement::replace(m_path, content, &lacks)) {
        traceLacks(lacks);
        return true;
    }
    TRACE_MESSAGE(MSG_ERROR, "Cannot write parameter file '%s' : %s", m_path.c_str(), strerror(errno));
    return false;
}

bool PersistenceFile::whileLocked(const std::function<bool()>& action) const {
    TRACE_METHOD();
    const FileLock lock(m_path);
    switch (lock.getResult()) {
    case LockResult::HELD:
        break;
    case LockResult::UNSUPPORTED: // nobody can lock here
        traceLacks(FileReplacement::NO_LOCK);
        break;
    case LockResult::BUSY:
        TRACE_MESSAGE(MSG_ERROR, "Cannot lock parameter file '%s' : somebody else has kept it locked",
                      m_path.c_str());
        return false;
    case LockResult::FAILED:
        TRACE_MESSAGE(MSG_ERROR, "Cannot lock parameter file '%s' : %s", m_path.c_str(), strerror(errno));
        return false;
    }
    return whileMemoryLasts(action);
}

bool PersistenceFile::whileMemoryLasts(const std::function<bool()>& action) const {
    TRACE_METHOD();
    try {
        return action();
    } catch (const std::bad_alloc&) {
    } catch (const std::length_error&) { // a text longer than half the address space
    }
    TRACE_MESSAGE(MSG_ERROR, "Not enough memory for parameter file '%s'", m_path.c_str());
    return false;
}

void PersistenceFile::traceLacks(unsigned lacks) const {
    TRACE_METHOD();
    for (const char* const text : FileReplacement::takeUntold(lacks))
        TRACE_MESSAGE(MSG_WARNING, "Parameter file '%s' : %s", m_path.c_str(), text);
}

bool PersistenceFile::exists() const {
    TRACE_METHOD();
    return FileSystemManagement::existFile(m_path);
}

} // namespace kf::detail
