#include "Bundles.h"
#include "Diagnostics.h"
#include "FileReferences.h"

#include <LinuxHome.h>

#include <cerrno>
#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace LinuxPlatform;

namespace {

/// Callers of FSRefMakePath have buffers of 2048 bytes: with a longer path they would have none at all.
const std::size_t LONGEST_PATH = 2047;

const char DATA_FOLDER_IN_HOME[] = ".local/share";

std::string absoluteFolderFromEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    if (value == nullptr || value[0] != '/')
        return std::string();
    std::string folder = value;
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    if (folder.size() > LONGEST_PATH - sizeof DATA_FOLDER_IN_HOME) {
        report("CoreServices: %s has %zu characters, which is too long for a folder; it does not count",
               variable, folder.size());
        return std::string();
    }
    return folder;
}

std::string homeFolderOfUserDatabase() {
    std::vector<char> buffer(1024);
    struct passwd user;
    struct passwd* found = nullptr;
    while (::getpwuid_r(::geteuid(), &user, buffer.data(), buffer.size(), &found) == ERANGE)
        buffer.resize(buffer.size() * 2);
    return found != nullptr && found->pw_dir != nullptr ? found->pw_dir : std::string();
}

} // namespace

std::string LinuxPlatform::homeFolder() {
    std::string home = absoluteFolderFromEnvironment("HOME");
    if (home.empty())
        home = homeFolderOfUserDatabase();
    return home.empty() || home.back() == '/' ? home : home + "/";
}

namespace {

std::string userDataFolder() {
    const std::string data = absoluteFolderFromEnvironment("XDG_DATA_HOME");
    if (!data.empty())
        return data;
    const std::string home = homeFolder();
    return home.empty() ? home : home + DATA_FOLDER_IN_HOME;
}

/// How many characters of the user's data folder are the home folder; 0 if it is elsewhere.
std::size_t lengthOfHome(const std::string& data) {
    const std::string home = homeFolder();
    return !home.empty() && data.compare(0, home.size(), home) == 0 ? home.size() - 1 : 0;
}

/// @param given  length of the part of the path that is not created: it exists, or nothing is created
OSStatus createFolders(const std::string& path, std::size_t given, mode_t mode) {
    for (std::size_t end = path.find('/', given + 1);; end = path.find('/', end + 1)) {
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

} // namespace

OSErr FSFindFolder(FSVolumeRefNum vRefNum, OSType folderType, Boolean createFolder, FSRef* foundRef) {
    if (foundRef == nullptr)
        return paramErr;
    if (vRefNum != kUserDomain && vRefNum != kLocalDomain)
        return nsvErr;
    if (folderType != kApplicationSupportFolderType)
        return fnfErr;
    const bool isUsers = vRefNum == kUserDomain;
    const std::string path = isUsers ? userDataFolder() : rootFolder() + "/var/lib";
    if (path.empty() || path.size() > LONGEST_PATH)
        return fnfErr;
    if (createFolder) {
        // A home folder that does not exist is for somebody else to create or to mount.
        const OSStatus status =
            isUsers ? createFolders(path, lengthOfHome(path), 0700) : createFolders(path, 0, 0755);
        if (status != noErr)
            return static_cast<OSErr>(status);
    }
    *foundRef = referenceToPlace(path);
    return noErr;
}
