#include "AppData.h"

#include "AppDataManager.h"
#include "CallMarker.h"

AppData::AppData(const std::string& domain) : m_domain(domain) {
    TRACE_CONSTRUCTOR("AppData");
}

AppData::~AppData() {
    TRACE_DESTRUCTOR("AppData");
}

void AppData::setGlobalScope(const std::string& scope) {
    TRACE_FUNCTION("AppData::setGlobalScope");
    AppDataManager::getInstance()->setGlobalScope(scope);
}

std::string AppData::getAllUsersDataPath() {
    TRACE_FUNCTION("AppData::getAllUsersDataPath");
    return AppDataManager::getInstance()->getAllUsersDataPath();
}

std::string AppData::getPathForFile(const std::string& file) const {
    TRACE_METHOD();
    return AppDataManager::getInstance()->getPathForFile(m_domain, file);
}

std::list<std::string> AppData::getFiles() const {
    TRACE_METHOD();
    return AppDataManager::getInstance()->getFiles(m_domain);
}

void AppData::removeAllData(const std::string& scope) {
    TRACE_FUNCTION("AppData::removeAllData");
    AppDataManager::getInstance()->removeAllData(scope);
}
