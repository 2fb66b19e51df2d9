#include "BinaryAppDataPersistence.h"

#include "CallMarker.h"
#include "FileReplacement.h"

#include <climits>
#include <cstring>
#include <memory>

namespace {

const char FILE_SUFFIX[] = "_binary.dat";
const size_t RECORD_OVERHEAD = 9; // two lengths and the name's zero byte

/// Calls visit(record) for each whole record, in the order of the file.
/// @return the offset of the first byte that is not part of one: the content's length in a sound file
template <typename Visit>
size_t forEachRecord(const std::string& content, Visit visit) {
    size_t offset = 0;
    t_Param::Record record;
    while (t_Param::unMarshall(content.data(), content.size(), offset, record)) {
        visit(record);
    }
    return offset;
}

void addToMap(const t_Param::Record& record, BinaryAppDataPersistence::ParamMap& params) {
    std::string name(record.name, record.nameLength);
    const t_Param param(name, record.data, record.size);
    // A saved file is in order, so each parameter belongs at the end.
    params.insert_or_assign(params.end(), std::move(name), param);
}

/// What keeps a block from being read back, or null when nothing does.
const char* findFault(const std::string& name, const char* data, int size) {
    if (name.empty()) {
        return "the name is empty";
    }
    if (size < 0) {
        return "the size is negative";
    }
    if (data == nullptr && size > 0) {
        return "there is no data";
    }
    if (name.size() > static_cast<size_t>(INT_MAX - size) - RECORD_OVERHEAD ||
        static_cast<size_t>(INT_MAX - size) < RECORD_OVERHEAD) {
        return "the block is too large";
    }
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
    if (!m_file.read(content)) {
        return false;
    }
    const size_t end = forEachRecord(content, [&](const t_Param::Record& record) { addToMap(record, params); });
    if (end != content.size()) {
        TRACE_MESSAGE(MSG_ERROR, "Parameter file '%s' is damaged at byte %lu of %lu", m_file.getPath().c_str(),
                      static_cast<unsigned long>(end), static_cast<unsigned long>(content.size()));
    }
    return true;
}

bool BinaryAppDataPersistence::writePersistenceFile(const ParamMap& params) {
    TRACE_METHOD();
    std::string content;
    for (const auto& entry : params) {
        int length = 0;
        const std::unique_ptr<char[]> record(entry.second.marshall(length));
        content.append(record.get(), static_cast<size_t>(length));
    }
    return m_file.write(content);
}
