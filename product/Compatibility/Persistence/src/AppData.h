#pragma once

#include <list>
#include <string>

// A component's handle for its own data domain. Owns nothing; everything is kept by the AppDataManager, whose
// header tells the layout of the folders. Main thread only.
class AppData {
public:
    explicit AppData(const std::string& domain);
    AppData(const AppData& other);
    AppData& operator=(const AppData& other) = default;
    virtual ~AppData();

    /// See AppDataManager for each.
    static void setGlobalScope(const std::string& scope);
    static std::string getAllUsersDataPath();
    std::string getPathForFile(const std::string& file) const;
    std::list<std::string> getFiles() const;
    static void removeAllData(const std::string& scope);

    bool readParam(const std::string& name, std::string& value) const;
    bool writeParam(const std::string& name, const std::string& value);
    bool writeParamForAllUsers(const std::string& name, const std::string& value);
    char* readUnformattedParam(const std::string& name, int& size) const;
    bool writeUnformattedParam(const std::string& name, const char* data, int size);
    bool writeUnformattedParamForAllUsers(const std::string& name, const char* data, int size);
    void removeData();

private:
    std::string m_domain;
};
