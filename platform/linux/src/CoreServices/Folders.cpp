#include "Bundles.h"
#include "FileReferences.h"

#include <cerrno>
#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace platform;

static std::string absoluteFolderFromEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    if (value == nullptr || value[0] != '/')
        return std::string();
    std::string folder = value;
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    return folder;
}

static std::string homeFolderOfUserDatabase() {
    std::vector<char> buffer(1024);
    struct passwd user;
    struct passwd* found = nullptr;
    while (::getpwuid_r(::geteuid(), &user, buffer.data(), buffer.size(), &found) == ERANGE)
        buffer.resize(buffer.size() * 2);
    return found != nullptr && found->pw_dir != nullptr ? found->pw_dir : std::string();
}

static std::string userDataFolder() {
    const std::string data = absoluteFolderFromEnvironment("XDG_DATA_HOME");
    if (!data.empty())
        return data;
    std::string home = absoluteFolderFromEnvironment("HOME");
    if (home.empty())
        home = homeFolderOfUserDatabase();
    if (home.empty())
        return home;
    return (home == "/" ? std::string() : home) + "/.local/share";
}

static OSStatus createFolders(const std::string& path, mode_t mode) {
    for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        if (::mkdir(path.substr(0, end).c_str(), mode) != 0 && errno != EEXIST && errno != EISDIR)
            return statusOfErrno(errno);
        if (end == std::string::npos)
            break;
    }
    struct stat made;
    if (::stat(path.c_str(), &made) != 0)
        return statusOfErrno(errno);
    if (!S_ISDIR(made.st_mode))
        return fnfErr;
    return noErr;
}

OSErr FSFindFolder(FSVolumeRefNum vRefNum, OSType folderType, Boolean createFolder, FSRef* foundRef) {
    if (foundRef == nullptr)
        return paramErr;
    if (vRefNum != kUserDomain && vRefNum != kLocalDomain)
        return nsvErr;
    if (folderType != kApplicationSupportFolderType)
        return fnfErr;
    const bool isUsers = vRefNum == kUserDomain;
    const std::string path = isUsers ? userDataFolder() : rootFolder() + "/var/lib";
    if (path.empty())
        return fnfErr;
    if (createFolder) {
        const OSStatus status = createFolders(path, isUsers ? 0700 : 0755);
        if (status != noErr)
            return static_cast<OSErr>(status);
    }
    *foundRef = referenceToPlace(path);
    return noErr;
}
