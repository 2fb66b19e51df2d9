#include "BinaryAppDataPersistence.h"

#include "CallMarker.h"
#include "FileSystemManagement.h"
#include "detail/FileReplacement.h"
#include "detail/PathBeside.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <sys/stat.h>
#include <typeinfo>

using namespace kf::detail;

namespace {

const char FILE_SUFFIX[] = "_binary.dat";
const std::size_t RECORD_OVERHEAD = 9; // two lengths and the name's NUL

/// Calls visit(record) for each complete record, in the order of the file.
/// @return the offset of the first byte behind them: the content's length if the file is undamaged
template <typename Visit>
std::size_t forEachRecord(const std::string& content, Visit visit) {
    std::size_t offset = 0;
    t_Param::Record record;
    while (t_Param::unMarshall(content.data(), content.size(), offset, record))
        visit(record);
    return offset;
}

void addToMap(const t_Param::Record& record, BinaryAppDataPersistence::ParamMap& params) {
    std::string name(record.name, record.nameLength);
    const t_Param param(name, record.data, record.size);
    // A saved file is sorted, so each parameter belongs at the end.
    params.insert_or_assign(params.end(), std::move(name), param);
}

bool isRegularFile(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// Why a block could not be read back; null if it could.
const char* findFault(const std::string& name, const char* data, int size) {
    if (name.empty())
        return "the name is empty";
    if (size < 0)
        return "the size is negative";
    if (data == nullptr && size > 0)
        return "there is no data";
    const std::size_t room = static_cast<std::size_t>(INT_MAX - size);
    if (room < RECORD_OVERHEAD || name.size() > room - RECORD_OVERHEAD)
        return "the block is too large";
    return nullptr;
}

} // namespace

BinaryAppDataPersistence::BinaryAppDataPersistence(const std::string& scope, const std::string& domain,
                                                   t_PersistenceMode mode)
    : m_file(scope, domain, mode, FILE_SUFFIX) {
    TRACE_CONSTRUCTOR("BinaryAppDataPersistence");
}

BinaryAppDataPersistence::~BinaryAppDataPersistence() {
    TRACE_DESTRUCTOR("BinaryAppDataPersistence");
}

std::string BinaryAppDataPersistence::getPersistenceFilePath(const std::string& scope,
                                                             const std::string& domain,
                                                             t_PersistenceMode mode) {
    TRACE_METHOD();
    return PersistenceFile(scope, domain, mode, FILE_SUFFIX).getPath();
}

bool BinaryAppDataPersistence::readPersistenceFile(ParamMap& params) {
    TRACE_METHOD();
    std::string content;
    if (!m_file.read(content))
        return false;
    traceDamage(content,
                forEachRecord(content, [&](const t_Param::Record& record) { addToMap(record, params); }));
    return true;
}

/// Traces an error if the records end before the content does.
void BinaryAppDataPersistence::traceDamage(const std::string& content, std::size_t end) const {
    TRACE_METHOD();
    if (end != content.size()) {
        TRACE_MESSAGE(MSG_ERROR, "Parameter file '%s' is damaged at byte %lu of %lu",
                      m_file.getPath().c_str(), static_cast<unsigned long>(end),
                      static_cast<unsigned long>(content.size()));
    }
}

bool BinaryAppDataPersistence::writePersistenceFile(const ParamMap& params) {
    TRACE_METHOD();
    return m_file.whileMemoryLasts([&] {
        // Writing drops what is behind the damage, so save a copy. An empty map is meant to drop it.
        if (!params.empty() && !keepDamagedFile())
            return false;
        std::string content;
        for (const auto& entry : params) {
            int length = 0;
            const std::unique_ptr<char[]> record(entry.second.marshall(length));
            content.append(record.get(), static_cast<std::size_t>(length));
        }
        return m_file.write(content);
    });
}

std::string BinaryAppDataPersistence::getDamagedPath() const {
    TRACE_METHOD();
    return pathBeside(m_file.getPath(), ".damaged");
}

bool BinaryAppDataPersistence::keepDamagedFile() const {
    TRACE_METHOD();
    std::string content;
    if (!m_file.read(content))
        return false;
    if (forEachRecord(content, [](const t_Param::Record&) {}) == content.size())
        return true;
    const std::string path = getDamagedPath();
    if (isRegularFile(path)) {
        TRACE_MESSAGE(MSG_WARNING, "'%s' of an earlier damage stays", path.c_str());
        return true;
    }
    if (FileReplacement::replace(path, content)) {
        TRACE_MESSAGE(MSG_WARNING, "The damaged parameter file is kept as '%s'", path.c_str());
        return true;
    }
    TRACE_MESSAGE(MSG_ERROR, "Cannot keep the damaged parameter file as '%s' : %s", path.c_str(),
                  strerror(errno));
    return false;
}

bool BinaryAppDataPersistence::writeUnformattedParam(const std::string& name, const char* data, int size) {
    TRACE_METHOD();
    if (const char* fault = findFault(name, data, size)) {
        TRACE_MESSAGE(MSG_ERROR, "Parameter '%s' refused : %s", name.c_str(), fault);
        return false;
    }
    return m_file.whileLocked([&] {
        ParamMap params;
        if (!readPersistenceFile(params))
            return false;
        params[name] = t_Param(name, data, size);
        return writePersistenceFile(params);
    });
}

char* BinaryAppDataPersistence::readUnformattedParam(const std::string& name, int& size) {
    TRACE_METHOD();
    std::string content;
    ParamMap params;
    t_Param::Record found = {nullptr, 0, nullptr, 0};
    if (typeid(*this) != typeid(BinaryAppDataPersistence)) {
        if (readPersistenceFile(params)) {
            const auto entry = params.find(name);
            if (entry != params.end()) {
                found = {entry->first.data(), entry->first.size(), entry->second.getInternalBuffer(),
                         entry->second.getBufferSize()};
            }
        }
    } else if (m_file.read(content)) {
        // The row parameter-read-binary needs this: a map of all blocks takes many times as long.
        traceDamage(content, forEachRecord(content, [&](const t_Param::Record& record) {
                        // Read to the end: a later record replaces an earlier one.
                        if (record.nameLength == name.size() &&
                            memcmp(record.name, name.data(), name.size()) == 0)
                            found = record;
                    }));
    }
    if (found.name == nullptr) {
        TRACE_MESSAGE(MSG_DEBUG, "Parameter '%s' not found", name.c_str());
        return nullptr;
    }
    char* const copy = new char[static_cast<std::size_t>(found.size)];
    memcpy(copy, found.data, static_cast<std::size_t>(found.size));
    size = found.size;
    return copy;
}

void BinaryAppDataPersistence::eraseAllParams() {
    TRACE_METHOD();
    if (m_file.exists() || FileSystemManagement::existFile(getDamagedPath())) {
        m_file.whileLocked([this] {
            const bool isErased = !m_file.exists() || writePersistenceFile(ParamMap());
            return removeDamagedFile() && isErased;
        });
    }
}

bool BinaryAppDataPersistence::removeDamagedFile() const {
    TRACE_METHOD();
    const std::string path = getDamagedPath();
    if (FileSystemManagement::existFile(path) && FileSystemManagement::deleteFile(path)) { // true: it failed
        TRACE_MESSAGE(MSG_ERROR, "Cannot remove '%s' : %s", path.c_str(), strerror(errno));
        return false;
    }
    return true;
}
