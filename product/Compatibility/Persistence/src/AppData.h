#pragma once

#include <list>
#include <string>

/// A component's handle for its own data domain: a folder of files, and parameters, of the user and of the
/// machine. It holds only the domain's name; the AppDataManager keeps everything else, and its header says
/// where the folders are. So handles are cheap to copy, and two of one domain are equivalent.
///
/// Nothing here throws; failures are traced as errors. Main thread only.
class AppData {
public:
    /// The name of the domain is also the name of its folder. Creates nothing.
    explicit AppData(const std::string& domain);
    AppData(const AppData& other);
    AppData& operator=(const AppData& other) = default;
    virtual ~AppData();

    /// Names the product. Call it before the first path or parameter is requested: until then the name is
    /// empty, and a domain's parameters stay where the first access to them looked.
    static void setGlobalScope(const std::string& scope);
    /// The machine's folder of the product, with a trailing separator. Creates nothing.
    static std::string getAllUsersDataPath();
    /// The folder, with a trailing separator, that contains this file of the domain: the user's, the
    /// machine's or the one beside the executable. If none does, the user's, which may not exist.
    std::string getPathForFile(const std::string& file) const;
    /// The names of the domain's files without their paths, the user's and the machine's, in ascending byte
    /// order. A file without a dot in its path is left out.
    std::list<std::string> getFiles() const;
    /// Deletes all files and parameters of a product, and the user's shared downloads. What cannot be deleted
    /// stays, without an error.
    static void removeAllData(const std::string& scope);

    /// The user's parameter, else the machine's. If there is none: false, and `value` stays as it was. An
    /// empty name is a contract violation, here and below.
    bool readParam(const std::string& name, std::string& value) const;
    /// Stores a parameter of the user or of all users. True if it is on disk; otherwise the old value
    /// remains. Refused: a name with "=" or a line feed, a value with a line feed.
    bool writeParam(const std::string& name, const std::string& value);
    bool writeParamForAllUsers(const std::string& name, const std::string& value);

    /// The same for blocks of bytes. Returns a copy of `size` bytes that the caller frees with delete[];
    /// null, with `size` unchanged, if there is none. A block of no bytes is not null.
    char* readUnformattedParam(const std::string& name, int& size) const;
    /// Stores a copy of `size` bytes. Refused: a negative size, null with a size, 2 GB and more.
    bool writeUnformattedParam(const std::string& name, const char* data, int size);
    bool writeUnformattedParamForAllUsers(const std::string& name, const char* data, int size);
    /// Erases the domain's parameters, of the user and of the machine, but not its files.
    void removeData();

private:
    std::string m_domain;
};
