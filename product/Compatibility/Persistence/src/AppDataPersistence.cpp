#include "AppDataPersistence.h"

#include "CallMarker.h"

#include <algorithm>
#include <string_view>

using namespace kf::detail;

namespace {

const char FILE_SUFFIX[] = ".dat";

/// Calls visit(name, value) for each parameter of a file's text, in the order of the file.
template <typename Visit>
void forEachParam(std::string_view content, Visit visit) {
    while (!content.empty()) {
        const std::string_view line = content.substr(0, content.find('\n'));
        content.remove_prefix(std::min(line.size() + 1, content.size()));
        const std::size_t equals = line.find('=');
        const std::string_view name = line.substr(0, equals);
        // DELIBERATE: a line without "=" is both the name and the value of a parameter.
        if (!name.empty())
            visit(name, equals == std::string_view::npos ? line : line.substr(equals + 1));
    }
}

/// Why a parameter could not be read back; null if it could.
const char* findFault(const std::string& name, const std::string& value) {
    if (name.empty())
        return "the name is empty";
    if (name.find('=') != std::string::npos)
        return "the name holds \"=\"";
    if (name.find('\n') != std::string::npos)
        return "the name holds a line feed";
    if (value.find('\n') != std::string::npos)
        return "the value holds a line feed";
    return nullptr;
}

/// Traces why a parameter is refused. @return false
bool refuse(const std::string& name, const char* fault) {
    TRACE_FUNCTION("refuse");
    TRACE_MESSAGE(MSG_ERROR, "Parameter '%s' refused : %s", name.c_str(), fault);
    return false;
}

} // namespace

AppDataPersistence::AppDataPersistence(const std::string& scope, const std::string& domain,
                                       t_PersistenceMode mode)
    : m_file(scope, domain, mode, FILE_SUFFIX) {
    TRACE_CONSTRUCTOR("AppDataPersistence");
}

AppDataPersistence::~AppDataPersistence() {
    TRACE_DESTRUCTOR("AppDataPersistence");
}

std::string AppDataPersistence::getPersistenceFilePath(const std::string& scope, const std::string& domain,
                                                       t_PersistenceMode mode) {
    TRACE_FUNCTION("AppDataPersistence::getPersistenceFilePath");
    return PersistenceFile(scope, domain, mode, FILE_SUFFIX).getPath();
}

bool AppDataPersistence::readPersistenceFile(t_paramMap& params) const {
    TRACE_METHOD();
    std::string content;
    if (!m_file.read(content))
        return false;
    // A saved file is sorted, so each parameter belongs at the end.
    forEachParam(content, [&params](std::string_view name, std::string_view value) {
        params.insert_or_assign(params.end(), std::string(name), std::string(value));
    });
    return true;
}

bool AppDataPersistence::writePersistenceFile(const t_paramMap& params) const {
    TRACE_METHOD();
    for (const auto& [name, value] : params)
        if (const char* const fault = findFault(name, value))
            return refuse(name, fault);
    return m_file.whileMemoryLasts([&] {
        std::string content;
        for (const auto& [name, value] : params)
            content.append(name).append(1, '=').append(value).append(1, '\n');
        return m_file.write(content);
    });
}

bool AppDataPersistence::writeParam(const std::string& name, const std::string& value) {
    TRACE_METHOD();
    if (const char* const fault = findFault(name, value))
        return refuse(name, fault);
    return m_file.whileLocked([&] {
        t_paramMap params;
        if (!readPersistenceFile(params))
            return false;
        params[name] = value;
        return writePersistenceFile(params);
    });
}

bool AppDataPersistence::readParam(const std::string& name, std::string& value) {
    TRACE_METHOD();
    std::string content;
    std::string_view found;
    bool isFound = false;
    if (m_file.read(content)) {
        // Read to the end: a later line replaces an earlier one.
        forEachParam(content, [&](std::string_view itsName, std::string_view itsValue) {
            if (itsName == name) {
                found = itsValue;
                isFound = true;
            }
        });
    }
    if (!isFound) {
        TRACE_MESSAGE(MSG_DEBUG, "Parameter '%s' not found", name.c_str());
        return false;
    }
    value = found; // only now: name and value may be one string
    return true;
}

void AppDataPersistence::eraseAllParams() {
    TRACE_METHOD();
    if (m_file.exists())
        m_file.whileLocked([this] { return writePersistenceFile(t_paramMap()); });
}
