#include "FileSystemManagement.h"

#include <LinuxHome.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

// The desktop folder is a setting of the user's session, kept in a file of shell assignments:
//     XDG_DESKTOP_DIR="$HOME/Desktop"

namespace {

std::string environmentPath(const char* variable) {
    const char* value = getenv(variable);
    return value != nullptr && value[0] == '/' ? value : std::string();
}

/// Stores the folder that a line assigns; leaves `folder` as it is if the line is something else. As the
/// format defines it, only "$HOME/..." and absolute paths count, and a backslash makes the next character
/// literal.
void readAssignment(const std::string& line, const std::string& home, std::string& folder) {
    int begin = 0;
    std::sscanf(line.c_str(), " XDG_DESKTOP_DIR = \"%n", &begin);
    if (begin == 0)
        return;
    std::size_t at = static_cast<std::size_t>(begin);
    std::string path;
    if (line.compare(at, 5, "$HOME") == 0) {
        path = home;
        at += 5;
        if (at < line.size() && line[at] != '/' && line[at] != '"')
            return;
    } else if (line.compare(at, 1, "/") != 0) {
        return;
    }
    for (; at < line.size() && line[at] != '"'; ++at) {
        if (line[at] == '\\' && at + 1 < line.size())
            ++at;
        path += line[at];
    }
    path.erase(path.find_last_not_of('/') + 1);
    folder = path.empty() ? "/" : path;
}

} // namespace

std::string FileSystemManagement::getUserDesktopFolder() {
    // Without a trailing separator, so empty for the root folder and for an unknown home.
    std::string home = LinuxPlatform::homeFolder();
    home.erase(home.find_last_not_of('/') + 1);
    const std::string configuration = environmentPath("XDG_CONFIG_HOME");
    std::string folder = home + "/Desktop";
    std::ifstream settings((configuration.empty() ? home + "/.config" : configuration) + "/user-dirs.dirs");
    for (std::string line; std::getline(settings, line);)
        readAssignment(line, home, folder); // the last one counts, as in a shell
    return folder;
}
