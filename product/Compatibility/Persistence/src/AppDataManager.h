#pragma once

#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>

class BinaryPersistenceManager;
class PersistenceManager;

/// Knows where the application data of this process is: "<base>/Ferrow/<scope>/<domain>/". The base is the
/// user's or the machine's application-support folder, the global scope names the product, and a domain is
/// what one component keeps for itself. Components use an AppData handle instead of this class.
///
/// Computing a path creates nothing. Main thread only; nothing is locked.
class AppDataManager {
public:
    /// The instance, created by the first call and never destroyed.
    static AppDataManager* getInstance();

    ~AppDataManager();

    AppDataManager(const AppDataManager&) = delete;
    AppDataManager& operator=(const AppDataManager&) = delete;

    /// Call it before the first path is requested: until then the scope is empty.
    void setGlobalScope(const std::string& scope);

    /// The user's and the machine's data path of a scope, without a trailing separator.
    void getDataPath(std::string& userPath, std::string& allUsersPath, const std::string& scope) const;
    /// The machine's data path of the global scope, with a trailing separator.
    std::string getAllUsersDataPath();

    /// The FOLDER (with a trailing separator, without the file's name) that contains the domain's file: the
    /// user's, else the machine's, else the one beside the executable. If none does, the user's, which is
    /// where new files go and may not exist yet.
    std::string getPathForFile(const std::string& domain, const std::string& file) const;

    /// The names of the files in the domain's two folders and in all folders below, without their paths, each
    /// once, in ascending byte order. Folders and links to folders are not listed. A file without a dot in
    /// its path below the domain's folder is left out.
    std::list<std::string> getFiles(const std::string& domain) const;

    /// Deletes all data of a scope, the user's shared downloads, and then the family's folders if they are
    /// empty. DELIBERATE: the machine's shared downloads stay.
    void removeAllData(const std::string& scope);

    /// A domain's text and binary parameter stores: the user's first, then the machine's. Created by the
    /// first request, with the global scope of that moment, which they keep. The manager owns them.
    using StorePair = std::pair<std::unique_ptr<PersistenceManager>, std::unique_ptr<PersistenceManager>>;
    using BinaryStorePair =
        std::pair<std::unique_ptr<BinaryPersistenceManager>, std::unique_ptr<BinaryPersistenceManager>>;
    StorePair& getPersistence(const std::string& domain);
    BinaryStorePair& getBinaryPersistence(const std::string& domain);

    /// The user's parameter, or the machine's if the user has none of that name (not empty).
    bool readParam(const std::string& domain, const std::string& name, std::string& value);
    bool writeParam(const std::string& domain, const std::string& name, const std::string& value);
    bool writeParamForAllUsers(const std::string& domain, const std::string& name, const std::string& value);

    /// The same for blocks of bytes; the caller frees the returned block with delete[]. Null if neither has
    /// such a block.
    char* readUnformattedParam(const std::string& domain, const std::string& name, int& size);
    bool writeUnformattedParam(const std::string& domain, const std::string& name, const char* data,
                               int size);
    bool writeUnformattedParamForAllUsers(const std::string& domain, const std::string& name,
                                          const char* data, int size);

    /// Erases the domain's parameters, of the user and of the machine, but not the files in its folders.
    void removeDomainData(const std::string& domain);

private:
    AppDataManager();

    std::string m_globalScope;
    std::map<std::string, StorePair> m_stores;
    std::map<std::string, BinaryStorePair> m_binaryStores;
};
