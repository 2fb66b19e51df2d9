#pragma once

#include <list>
#include <string>

/// A component's handle for its own data domain: a folder of files, and parameters, of the user and of the
/// machine. It holds the domain's name only; the AppDataManager keeps everything else, and its header tells where
/// the folders lie. So handles are cheap to copy, and two of one domain are the same.
///
/// Nothing here throws; what fails is traced as an error. Main thread only.
class AppData {
public:
    /// The name of the domain, which becomes the name of a folder. Creates nothing.
    explicit AppData(const std::string& domain);
    AppData(const AppData& other);
    AppData& operator=(const AppData& other) = default;
    virtual ~AppData();

    /// Names the product. To be set before the first path or parameter: until then the name is empty, and a
    /// domain's parameters stay where the first access to them has found them.
    static void setGlobalScope(const std::string& scope);
    /// The machine's folder of the product, with a separator at the end. Creates nothing.
    static std::string getAllUsersDataPath();
    /// The folder, with a separator at the end, in which that file of the domain lies: the user's, the machine's
    /// or the one beside the executable; the user's, which may be missing, when it lies in none.
    std::string getPathForFile(const std::string& file) const;
    /// The names of the domain's files without a path, the user's and the machine's, in ascending byte order.
    /// Files without a dot in their path are left out.
    std::list<std::string> getFiles() const;
    /// Deletes all files and parameters of a product, and the user's shared downloads. What cannot be deleted
    /// stays, without an error.
    static void removeAllData(const std::string& scope);

    /// The user's parameter, else the machine's. False, with `value` as it was, when there is none. An empty
    /// name is a contract violation, here and in all that follows.
    bool readParam(const std::string& name, std::string& value) const;
    /// Stores a parameter of the user or of all users. True when it is on the disk; otherwise the old value
    /// stands. Refused: a name with "=" or a line feed, a value with a line feed.
    bool writeParam(const std::string& name, const std::string& value);
    bool writeParamForAllUsers(const std::string& name, const std::string& value);

    /// The same for blocks of bytes. The block is a copy that the caller frees with delete[], `size` its bytes;
    /// null, with `size` as it was, when there is none. A block of no bytes is not null.
    char* readUnformattedParam(const std::string& name, int& size) const;
    /// Copies `size` bytes. Refused: a negative size, null with a size, 2 GB and more.
    bool writeUnformattedParam(const std::string& name, const char* data, int size);
    bool writeUnformattedParamForAllUsers(const std::string& name, const char* data, int size);
    /// Erases the domain's parameters, of the user and of the machine. Its files stay.
    void removeData();

private:
    std::string m_domain;
};
