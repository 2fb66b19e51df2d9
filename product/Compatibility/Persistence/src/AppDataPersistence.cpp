#include "AppDataPersistence.h"

#include "CallMarker.h"

#include <cstring>

using namespace kf::detail;

namespace {

const char FILE_SUFFIX[] = ".dat";

/// A parameter as it stands in the file's text.
struct Line {
    const char* name;
    std::size_t nameLength;
    const char* value;
    std::size_t valueLength;

    bool isNamed(const std::string& text) const {
        return nameLength == text.size() && memcmp(name, text.data(), nameLength) == 0;
    }
};

/// Calls visit(line) for each parameter of a file's text, in the order of the file.
template <typename Visit>
void forEachLine(const std::string& content, Visit visit) {
    const char* begin = content.data();
    const char* const end = begin + content.size();
    while (begin != end) {
        const void* feed = memchr(begin, '\n', static_cast<std::size_t>(end - begin));
        const char* const lineEnd = feed != nullptr ? static_cast<const char*>(feed) : end;
        const std::size_t length = static_cast<std::size_t>(lineEnd - begin);
        const void* equals = memchr(begin, '=', length);
        // DELIBERATE: a line without "=" is both, the name and the value of a parameter that is just there.
        Line line = {begin, length, begin, length};
        if (equals != nullptr) {
            const char* const separator = static_cast<const char*>(equals);
            line = {begin, static_cast<std::size_t>(separator - begin), separator + 1,
                    static_cast<std::size_t>(lineEnd - separator - 1)};
        }
        if (line.nameLength != 0)
            visit(line);
        begin = feed != nullptr ? lineEnd + 1 : end;
    }
}

/// What keeps a parameter from being read back, or null when nothing does.
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

/// Traces why a parameter is not stored. @return false
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
    // A saved file is in order, so each parameter belongs at the end.
    forEachLine(content, [&params](const Line& line) {
        params.insert_or_assign(params.end(), std::string(line.name, line.nameLength),
                                std::string(line.value, line.valueLength));
    });
    return true;
}

bool AppDataPersistence::writePersistenceFile(const t_paramMap& params) const {
    TRACE_METHOD();
    for (const auto& [name, value] : params)
        if (const char* const fault = findFault(name, value))
            return refuse(name, fault);
    return replaceFile(params);
}

bool AppDataPersistence::replaceFile(const t_paramMap& params) const {
    TRACE_METHOD();
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
        return replaceFile(params);
    });
}

bool AppDataPersistence::readParam(const std::string& name, std::string& value) {
    TRACE_METHOD();
    std::string content;
    Line found = {nullptr, 0, nullptr, 0};
    if (m_file.read(content)) {
        forEachLine(
            content, [&](const Line& line) { // to the end: a later line replaces an earlier one
                if (line.isNamed(name))
                    found = line;
            });
    }
    if (found.name == nullptr) {
        TRACE_MESSAGE(MSG_DEBUG, "Parameter '%s' not found", name.c_str());
        return false;
    }
    value.assign(found.value, found.valueLength); // not before: name and value may be one string
    return true;
}

void AppDataPersistence::eraseAllParams() {
    TRACE_METHOD();
    if (m_file.exists())
        m_file.whileLocked([this] { return writePersistenceFile(t_paramMap()); });
}
