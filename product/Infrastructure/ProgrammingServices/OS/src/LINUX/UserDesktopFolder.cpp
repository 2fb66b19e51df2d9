#include "FileSystemManagement.h"

#include <LinuxHome.h>

#include <cstdlib>
#include <fstream>

// The desktop folder is a setting of the user's session, kept in a file of shell assignments:
//     XDG_DESKTOP_DIR="$HOME/Desktop"

namespace {

constexpr char SETTING[] = "XDG_DESKTOP_DIR";
constexpr char HOME_VARIABLE[] = "$HOME";

std::string environmentPath(const char* variable) {
    const char* value = getenv(variable);
    return value != nullptr && value[0] == '/' ? value : std::string();
}

std::size_t skipBlanks(const std::string& line, std::size_t at) {
    const std::size_t next = line.find_first_not_of(" \t", at);
    return next == std::string::npos ? line.size() : next;
}

bool skipText(const std::string& line, const std::string& text, std::size_t& at) {
    if (line.compare(at, text.size(), text) != 0)
        return false;
    at += text.size();
    return true;
}

/// The folder that a line assigns; false when the line is something else. Only "$HOME/..." and absolute paths
/// count, as the format has it; a backslash takes the character behind it literally.
bool readAssignment(const std::string& line, const std::string& home, std::string& folder) {
    std::size_t at = skipBlanks(line, 0);
    if (!skipText(line, SETTING, at))
        return false;
    at = skipBlanks(line, at);
    if (!skipText(line, "=", at))
        return false;
    at = skipBlanks(line, at);
    if (!skipText(line, "\"", at))
        return false;
    std::string path;
    if (skipText(line, HOME_VARIABLE, at)) {
        path = home;
        if (at < line.size() && line[at] != '/' && line[at] != '"')
            return false;
    } else if (line.compare(at, 1, "/") != 0) {
        return false;
    }
    for (; at < line.size() && line[at] != '"'; ++at) {
        if (line[at] == '\\' && at + 1 < line.size())
            ++at;
        path += line[at];
    }
    path.erase(path.find_last_not_of('/') + 1);
    folder = path.empty() ? "/" : path;
    return true;
}

} // namespace

std::string FileSystemManagement::getUserDesktopFolder() {
    // Without a separator at the end: empty for the root folder, and for an unknown one.
    std::string home = LinuxPlatform::homeFolder();
    home.erase(home.find_last_not_of('/') + 1);
    const std::string configuration = environmentPath("XDG_CONFIG_HOME");
    std::string folder = home + "/Desktop";
    std::ifstream settings((configuration.empty() ? home + "/.config" : configuration) + "/user-dirs.dirs");
    for (std::string line; std::getline(settings, line);)
        readAssignment(line, home, folder); // the last one counts, as in a shell
    return folder;
}
