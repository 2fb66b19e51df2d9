#include "AppData.h"

#include "AppDataManager.h"
#include "CallMarker.h"

AppData::AppData(const std::string& domain) : m_domain(domain) {
    TRACE_CONSTRUCTOR("AppData");
}

AppData::AppData(const AppData& other) : m_domain(other.m_domain) {
    TRACE_COPY_CONSTRUCTOR("AppData");
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

bool AppData::readParam(const std::string& name, std::string& value) const {
    TRACE_METHOD();
    return AppDataManager::getInstance()->readParam(m_domain, name, value);
}

bool AppData::writeParam(const std::string& name, const std::string& value) {
    TRACE_METHOD();
    return AppDataManager::getInstance()->writeParam(m_domain, name, value);
}

bool AppData::writeParamForAllUsers(const std::string& name, const std::string& value) {
    TRACE_METHOD();
    return AppDataManager::getInstance()->writeParamForAllUsers(m_domain, name, value);
}

char* AppData::readUnformattedParam(const std::string& name, int& size) const {
    TRACE_METHOD();
    return AppDataManager::getInstance()->readUnformattedParam(m_domain, name, size);
}

bool AppData::writeUnformattedParam(const std::string& name, const char* data, int size) {
    TRACE_METHOD();
    return AppDataManager::getInstance()->writeUnformattedParam(m_domain, name, data, size);
}

bool AppData::writeUnformattedParamForAllUsers(const std::string& name, const char* data, int size) {
    TRACE_METHOD();
    return AppDataManager::getInstance()->writeUnformattedParamForAllUsers(m_domain, name, data, size);
}

void AppData::removeData() {
    TRACE_METHOD();
    AppDataManager::getInstance()->removeDomainData(m_domain);
}
