#include "AppDataManager.h"

#include "BinaryPersistenceManager.h"
#include "CallMarker.h"
#include "FileSystemManagement.h"
#include "FolderNames.h"
#include "PatternFileFinder.h"
#include "PersistenceManager.h"

#include <set>

using namespace kf::detail;

namespace {

std::string dataPath(t_PersistenceMode mode, const std::string& scope) {
    return familyFolder(mode) + FileSystemManagement::getFolderSeparator() + scope;
}

std::string domainFolder(const std::string& path, const std::string& domain) {
    const char separator = FileSystemManagement::getFolderSeparator();
    return path + separator + domain + separator;
}

void collectNames(const std::string& folder, std::set<std::string>& names) {
    TRACE_FUNCTION("collectNames");
    PatternFileFinder finder(folder, "*.*");
    std::string path; // below the folder
    for (bool found = finder.findFirstFile(path); found; found = finder.findNextFile(path))
        if (!FileSystemManagement::existFolder(folder + path))
            names.insert(path.substr(path.rfind(FileSystemManagement::getFolderSeparator()) + 1));
}

void removeFolder(const std::string& path) {
    TRACE_FUNCTION("removeFolder");
    if (FileSystemManagement::existFolder(path))
        FileSystemManagement::deleteFolder(path, true);
}

/// The domain's pair of stores; if there is none yet, creates it with this scope.
template <typename Store>
std::pair<std::unique_ptr<Store>, std::unique_ptr<Store>>&
storesOf(std::map<std::string, std::pair<std::unique_ptr<Store>, std::unique_ptr<Store>>>& stores,
         const std::string& scope, const std::string& domain) {
    TRACE_FUNCTION("storesOf");
    auto& pair = stores[domain];
    if (pair.first == nullptr) {
        pair.first = std::make_unique<Store>(scope, domain, PERSISTENCE_CURRENT_USER);
        pair.second = std::make_unique<Store>(scope, domain, PERSISTENCE_ALL_USERS);
    }
    return pair;
}

} // namespace

AppDataManager* AppDataManager::getInstance() {
    TRACE_FUNCTION("AppDataManager::getInstance");
    static AppDataManager* instance = new AppDataManager;
    return instance;
}

AppDataManager::AppDataManager() {
    TRACE_CONSTRUCTOR("AppDataManager");
}

AppDataManager::~AppDataManager() {
    TRACE_DESTRUCTOR("AppDataManager");
}

void AppDataManager::setGlobalScope(const std::string& scope) {
    TRACE_METHOD();
    m_globalScope = scope;
}

void AppDataManager::getDataPath(std::string& userPath, std::string& allUsersPath,
                                 const std::string& scope) const {
    TRACE_METHOD();
    userPath = dataPath(PERSISTENCE_CURRENT_USER, scope);
    allUsersPath = dataPath(PERSISTENCE_ALL_USERS, scope);
}

std::string AppDataManager::getAllUsersDataPath() {
    TRACE_METHOD();
    std::string userPath, allUsersPath;
    getDataPath(userPath, allUsersPath, m_globalScope);
    return allUsersPath + FileSystemManagement::getFolderSeparator();
}

std::string AppDataManager::getPathForFile(const std::string& domain, const std::string& file) const {
    TRACE_METHOD();
    std::string userPath, allUsersPath;
    getDataPath(userPath, allUsersPath, m_globalScope);
    const std::string userFolder = domainFolder(userPath, domain);
    if (FileSystemManagement::existFile(userFolder + file))
        return userFolder;
    const std::string allUsersFolder = domainFolder(allUsersPath, domain);
    if (FileSystemManagement::existFile(allUsersFolder + file))
        return allUsersFolder;
    const std::string executableFolder = FileSystemManagement::getCurrentExecutableDirectory() + domain +
                                         FileSystemManagement::getFolderSeparator();
    if (FileSystemManagement::existFile(executableFolder + file))
        return executableFolder;
    return userFolder;
}

std::list<std::string> AppDataManager::getFiles(const std::string& domain) const {
    TRACE_METHOD();
    std::string userPath, allUsersPath;
    getDataPath(userPath, allUsersPath, m_globalScope);
    std::set<std::string> names;
    collectNames(domainFolder(userPath, domain), names);
    collectNames(domainFolder(allUsersPath, domain), names);
    return std::list<std::string>(names.begin(), names.end());
}

void AppDataManager::removeAllData(const std::string& scope) {
    TRACE_METHOD();
    std::string userPath, allUsersPath;
    getDataPath(userPath, allUsersPath, scope);
    removeFolder(allUsersPath);
    removeFolder(userPath);

    // DELIBERATE: the machine's downloads stay, other users share them.
    getDataPath(userPath, allUsersPath, FOLDERNAME_DOWNLOADS);
    removeFolder(userPath);

    getDataPath(userPath, allUsersPath, "");
    FileSystemManagement::DeleteEmptyFolder(userPath);
    FileSystemManagement::DeleteEmptyFolder(allUsersPath);
}

AppDataManager::StorePair& AppDataManager::getPersistence(const std::string& domain) {
    TRACE_METHOD();
    return storesOf(m_stores, m_globalScope, domain);
}

AppDataManager::BinaryStorePair& AppDataManager::getBinaryPersistence(const std::string& domain) {
    TRACE_METHOD();
    return storesOf(m_binaryStores, m_globalScope, domain);
}

bool AppDataManager::readParam(const std::string& domain, const std::string& name, std::string& value) {
    TRACE_METHOD();
    const StorePair& stores = getPersistence(domain);
    return stores.first->readParam(name, value) || stores.second->readParam(name, value);
}

bool AppDataManager::writeParam(const std::string& domain, const std::string& name,
                                const std::string& value) {
    TRACE_METHOD();
    return getPersistence(domain).first->writeParam(name, value);
}

bool AppDataManager::writeParamForAllUsers(const std::string& domain, const std::string& name,
                                           const std::string& value) {
    TRACE_METHOD();
    return getPersistence(domain).second->writeParam(name, value);
}

char* AppDataManager::readUnformattedParam(const std::string& domain, const std::string& name, int& size) {
    TRACE_METHOD();
    const BinaryStorePair& stores = getBinaryPersistence(domain);
    char* const data = stores.first->readUnformattedParam(name, size);
    return data != nullptr ? data : stores.second->readUnformattedParam(name, size);
}

bool AppDataManager::writeUnformattedParam(const std::string& domain, const std::string& name,
                                           const char* data, int size) {
    TRACE_METHOD();
    return getBinaryPersistence(domain).first->writeUnformattedParam(name, data, size);
}

bool AppDataManager::writeUnformattedParamForAllUsers(const std::string& domain, const std::string& name,
                                                      const char* data, int size) {
    TRACE_METHOD();
    return getBinaryPersistence(domain).second->writeUnformattedParam(name, data, size);
}

void AppDataManager::removeDomainData(const std::string& domain) {
    TRACE_METHOD();
    const StorePair& stores = getPersistence(domain);
    stores.first->eraseAllParams();
    stores.second->eraseAllParams();
    const BinaryStorePair& binaryStores = getBinaryPersistence(domain);
    binaryStores.first->eraseAllParams();
    binaryStores.second->eraseAllParams();
}
