#include "FileSystemManagement.h"

#include "detail/FileDescriptor.h"

#include <CoreServices/CoreServices.h>
#include <mach-o/dyld.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

using namespace kf::detail;

namespace FileSystemManagement {

namespace {

constexpr mode_t FOLDER_MODE = 0777;
constexpr UInt32 FOLDER_PATH_SIZE = 2048;
constexpr uint32_t EXECUTABLE_PATH_SIZE = 1024;
constexpr std::size_t COPY_BUFFER_SIZE = 1024 * 1024;

struct FileCloser {
    void operator()(FILE* file) const { fclose(file); }
};
using OpenFile = std::unique_ptr<FILE, FileCloser>;

/// The names in a folder, without "." and "..", in the order of the C library's collation; none if the folder
/// cannot be read.
std::vector<std::string> entriesOf(const std::string& folder) {
    std::vector<std::string> names;
    dirent** entries = nullptr;
    const int count = scandir(folder.c_str(), &entries, nullptr, alphasort);
    for (int i = 0; i < count; ++i) {
        const std::string name = entries[i]->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
        free(entries[i]);
    }
    if (count >= 0)
        free(entries);
    return names;
}

std::string pathOf(const std::string& folder, const std::string& name) {
    return !folder.empty() && folder.back() == '/' ? folder + name : folder + "/" + name;
}

bool makeFolder(const std::string& path) {
    // Check again after a failure: another thread or process may have created it meanwhile.
    return existFolder(path) || mkdir(path.c_str(), FOLDER_MODE) == 0 || existFolder(path);
}

/// Copies exactly `size` bytes, in pieces: a file may be larger than the address space of a 32-bit process.
bool copyBytes(FILE* from, FILE* to, off_t size) {
    const std::size_t pieceSize = static_cast<std::size_t>(std::min<off_t>(size, COPY_BUFFER_SIZE));
    std::vector<char> buffer(pieceSize);
    while (size > 0) {
        const std::size_t piece = static_cast<std::size_t>(std::min<off_t>(size, COPY_BUFFER_SIZE));
        if (fread(buffer.data(), 1, piece, from) != piece || fwrite(buffer.data(), 1, piece, to) != piece)
            return false;
        size -= static_cast<off_t>(piece);
    }
    return true;
}

/// The pattern without its first wildcard, which a file name must then contain: *.txt becomes txt.
std::string reducedPattern(const std::string& pattern) {
    for (const char* wildcard : {"*.*", "*.", "*"}) {
        const std::size_t position = pattern.find(wildcard);
        if (position != std::string::npos)
            return std::string(pattern).erase(position, strlen(wildcard));
    }
    return pattern;
}

/// `ancestors` holds the source and the destination of this level and of all above it. A link back to one of
/// them, or a destination inside the source, would otherwise be copied into itself without end.
bool copyTree(const std::string& source, const std::string& destination, const std::string& pattern,
              std::vector<struct stat> ancestors) {
    const std::string reduced = reducedPattern(pattern);
    for (const std::string& folder : {source, destination}) {
        struct stat info;
        if (stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
            return false;
        ancestors.push_back(info);
    }
    for (const std::string& name : entriesOf(source)) {
        const std::string from = pathOf(source, name);
        const std::string to = pathOf(destination, name);
        struct stat info;
        if (stat(from.c_str(), &info) != 0)
            return false;
        // Failures below an entry are ignored on purpose: the entries beside it are still copied.
        if (S_ISDIR(info.st_mode)) {
            if (mkdir(to.c_str(), FOLDER_MODE) != 0 && errno != EEXIST)
                return false;
            if (std::none_of(ancestors.begin(), ancestors.end(),
                             [&](const struct stat& folder) { return isSameFile(folder, info); }))
                copyTree(from, to, reduced, ancestors);
        } else if (S_ISREG(info.st_mode) && name.find(reduced) != std::string::npos) {
            Copy(from, to);
        }
    }
    return true;
}

// The File Manager is deprecated since 10.8, but present on every macOS that the product runs on. Its
// successor is missing on the oldest one.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
constexpr FSVolumeRefNum COMMON_DOMAIN = kLocalDomain;
constexpr FSVolumeRefNum USER_DOMAIN = kUserDomain;

std::string applicationSupportFolder(FSVolumeRefNum domain, Boolean create = kDontCreateFolder) {
    FSRef folder;
    UInt8 path[FOLDER_PATH_SIZE];
    if (FSFindFolder(domain, kApplicationSupportFolderType, create, &folder) != noErr ||
        FSRefMakePath(&folder, path, FOLDER_PATH_SIZE) != noErr)
        return std::string();
    return reinterpret_cast<const char*>(path);
}

/// If an application-support folder above (or at) `path` is missing, the system creates it: it knows which of
/// its parts may be created, and with which mode. @return false if it did not
bool makeSystemsFolder(const std::string& path) {
    for (const FSVolumeRefNum domain : {USER_DOMAIN, COMMON_DOMAIN}) {
        const std::string base = applicationSupportFolder(domain);
        if (!base.empty() && (path + "/").compare(0, base.size() + 1, base + "/") == 0 && !existFolder(base))
            return !applicationSupportFolder(domain, kCreateFolder).empty();
    }
    return true;
}
#pragma GCC diagnostic pop

} // namespace

char getFolderSeparator() {
    return '/';
}

bool existFile(std::string path) {
    struct stat info;
    return lstat(path.c_str(), &info) == 0;
}

bool existFolder(std::string path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool createFolder(std::string path) {
    if (path.empty())
        return false;
    // Stays 0 for the whole process, on purpose: folders that all users share get mode 0777 exactly.
    umask(0);
    if (!makeSystemsFolder(path))
        return false;
    for (std::size_t i = path.find('/', 1); i != std::string::npos; i = path.find('/', i + 1))
        if (!makeFolder(path.substr(0, i)))
            return false;
    return makeFolder(path);
}

bool createFile(const std::string& folder, const std::string& name) {
    if (!createFolder(folder))
        return false;
    std::string path = folder;
    // A backslash counts as a separator here although it is none: "dir\" and "name" give the file "dir\name".
    if (!path.empty() && path.back() != '/' && path.back() != '\\')
        path += '/';
    return OpenFile(fopen((path + name).c_str(), "a")) != nullptr;
}

bool deleteFile(std::string path) {
    return remove(path.c_str()) != 0;
}

bool deleteFolder(std::string path, bool removeItself) {
    const std::vector<std::string> names = entriesOf(path);
    for (const std::string& name : names) {
        const std::string full = pathOf(path, name);
        struct stat info;
        if (lstat(full.c_str(), &info) == 0 && S_ISDIR(info.st_mode))
            deleteFolder(full, true);
        else
            remove(full.c_str());
    }
    return removeItself ? rmdir(path.c_str()) == 0 : !names.empty();
}

bool DeleteEmptyFolder(std::string path) {
    return !path.empty() && rmdir(path.c_str()) == 0;
}

bool Copy(std::string source, std::string destination) {
    if (source.empty())
        return false;
    // The destination first: then a missing source leaves an empty destination, and a file copied onto itself
    // is emptied. Callers rely on both.
    OpenFile to(fopen(destination.c_str(), "wb"));
    OpenFile from(fopen(source.c_str(), "rb"));
    if (!to || !from || fseeko(from.get(), 0, SEEK_END) != 0)
        return false;
    const off_t size = ftello(from.get());
    if (size < 0 || fseeko(from.get(), 0, SEEK_SET) != 0 || !copyBytes(from.get(), to.get(), size))
        return false;
    return fclose(to.release()) == 0; // a full disk may be reported only now
}

bool copyFolder(std::string source, std::string destination, std::string pattern) {
    umask(0); // as in createFolder()
    return existFolder(source) && createFolder(destination) && copyTree(source, destination, pattern, {});
}

bool Move(std::string, std::string) {
    return true;
}

bool RemoveReadOnly(std::string) {
    return false;
}

std::string ReadParamFromIniFile(std::string, std::string, std::string, std::string) {
    return std::string();
}

std::string getCommonAppDataDirectory() {
    return applicationSupportFolder(COMMON_DOMAIN);
}

std::string getUserAppDataDirectory() {
    return applicationSupportFolder(USER_DOMAIN);
}

std::string getCurrentExecutableFullPath() {
    uint32_t size = EXECUTABLE_PATH_SIZE;
    std::vector<char> path(size);
    if (_NSGetExecutablePath(path.data(), &size) != 0) {
        path.resize(size);
        if (_NSGetExecutablePath(path.data(), &size) != 0)
            return std::string();
    }
    const std::unique_ptr<char, decltype(&free)> resolved(realpath(path.data(), nullptr), &free);
    return resolved ? resolved.get() : std::string();
}

std::string getCurrentExecutableName() {
    const std::string path = getCurrentExecutableFullPath();
    return path.substr(path.rfind('/') + 1);
}

std::string getCurrentExecutableDirectory() {
    const std::string path = getCurrentExecutableFullPath();
    return path.substr(0, path.rfind('/') + 1);
}

std::string getCurrentOutputDirectory() {
    return getCurrentExecutableDirectory();
}

} // namespace FileSystemManagement
