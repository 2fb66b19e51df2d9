#pragma once

#include <list>
#include <string>

// The process-wide knowledge of where application data lies, as "<base>/Ferrow/<scope>/<domain>/": the base
// is the user's or the machine's application-support folder, the global scope names the product, and a domain
// is what one component keeps for itself. Components use an AppData handle instead of this class.
//
// Computing a path creates nothing. Main thread only; nothing is locked.
class AppDataManager {
public:
    /// The one instance, created by the first call; lives to the end of the process.
    static AppDataManager* getInstance();

    ~AppDataManager();

    AppDataManager(const AppDataManager&) = delete;
    AppDataManager& operator=(const AppDataManager&) = delete;

    /// To be set before the first path is asked for: until then the scope is empty.
    void setGlobalScope(const std::string& scope);

    /// The user's and the machine's data path of a scope, without a separator at the end.
    void getDataPath(std::string& userPath, std::string& allUsersPath, const std::string& scope) const;
    /// The machine's data path of the global scope, with a separator at the end.
    std::string getAllUsersDataPath();

    /// The FOLDER (with a separator at the end, the file's name not included) where the domain's file lies:
    /// the user's, else the machine's, else the one beside the executable; where it lies in none, the user's,
    /// which is the place for new files and may not exist yet.
    std::string getPathForFile(const std::string& domain, const std::string& file) const;

    /// What the domain's two folders hold, without their paths: each name once, in ascending byte order.
    std::list<std::string> getFiles(const std::string& domain) const;

    /// Deletes all data of a scope, the user's shared downloads, and then the family's folders if that leaves
    /// them empty. DELIBERATE: the machine's shared downloads stay.
    void removeAllData(const std::string& scope);

private:
    AppDataManager();

    std::string m_globalScope;
};
