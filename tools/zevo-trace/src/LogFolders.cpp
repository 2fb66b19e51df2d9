#include "LogFolders.h"

#include "FileSystemManagement.h"

#include <algorithm>
#include <glob.h>
#include <sys/stat.h>

namespace Zevo {
namespace {

std::string escaped(const std::string& path) {
    std::string result;
    for (const char c : path) {
        if (std::string("*?[\\").find(c) != std::string::npos)
            result += '\\';
        result += c;
    }
    return result;
}

/// When the newest file of the folder was written.
timespec newestIn(const std::string& folder) {
    timespec newest = {};
    glob_t found = {};
    if (glob((escaped(folder) + "/*_*.txt").c_str(), 0, nullptr, &found) == 0) {
        for (std::size_t i = 0; i < found.gl_pathc; ++i) {
            struct stat status = {};
            if (stat(found.gl_pathv[i], &status) == 0 &&
                std::make_pair(status.st_mtim.tv_sec, status.st_mtim.tv_nsec) >
                    std::make_pair(newest.tv_sec, newest.tv_nsec))
                newest = status.st_mtim;
        }
    }
    globfree(&found);
    return newest;
}

} // namespace

std::string logFolderPattern() {
    return FileSystemManagement::getUserAppDataDirectory() + "/Ferrow/*/Logs";
}

std::vector<std::string> logFolders() {
    std::vector<std::pair<std::pair<time_t, long>, std::string>> folders;
    glob_t found = {};
    const std::string pattern = escaped(FileSystemManagement::getUserAppDataDirectory()) + "/Ferrow/*/Logs";
    if (glob(pattern.c_str(), GLOB_ONLYDIR, nullptr, &found) == 0) {
        for (std::size_t i = 0; i < found.gl_pathc; ++i) {
            const timespec newest = newestIn(found.gl_pathv[i]);
            folders.emplace_back(std::make_pair(newest.tv_sec, newest.tv_nsec), found.gl_pathv[i]);
        }
    }
    globfree(&found);
    std::sort(folders.rbegin(), folders.rend());
    std::vector<std::string> result;
    for (auto& folder : folders)
        result.push_back(std::move(folder.second));
    return result;
}

} // namespace Zevo
