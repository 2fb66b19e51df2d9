#include "InfoPlist.h"

#include "Diagnostics.h"
#include "FileBeginning.h"

#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <plist/plist.h>
#include <sys/stat.h>
#include <type_traits>

namespace LinuxPlatform {

// Generous for a file of a few dozen lines. The library walks a property list recursively, and a binary one
// in a time that grows with the square of its depth; what fits in here neither exhausts the stack nor takes
// long.
static const std::size_t INFO_PLIST_LIMIT = 64 * 1024;

static std::string readSmallRegularFile(const std::string& path) {
    struct stat found;
    std::string content;
    if (::stat(path.c_str(), &found) != 0)
        return content;
    // Non-blocking, because another file may have come to bear the name: a pipe that nobody writes to.
    if (S_ISREG(found.st_mode) && found.st_size <= static_cast<off_t>(INFO_PLIST_LIMIT))
        readBeginning(path, INFO_PLIST_LIMIT, O_NONBLOCK | O_NOCTTY, content);
    else
        report("CoreServices: %s is not read: it is no regular file of at most %d bytes", path.c_str(),
               static_cast<int>(INFO_PLIST_LIMIT));
    return content;
}

std::string executableNameFromInfoPlist(const std::string& infoPlist) {
    const std::string content = readSmallRegularFile(infoPlist);
    if (content.empty())
        return std::string();
    plist_t parsed = nullptr;
    const auto length = static_cast<uint32_t>(content.size());
    if (plist_is_binary(content.data(), length))
        plist_from_bin(content.data(), length, &parsed);
    else
        plist_from_xml(content.data(), length, &parsed);
    const std::unique_ptr<std::remove_pointer_t<plist_t>, decltype(&plist_free)> root(parsed, &plist_free);
    if (root == nullptr || plist_get_node_type(root.get()) != PLIST_DICT)
        return std::string();
    const plist_t item = plist_dict_get_item(root.get(), "CFBundleExecutable");
    if (item == nullptr || plist_get_node_type(item) != PLIST_STRING)
        return std::string();
    char* value = nullptr;
    plist_get_string_val(item, &value);
    const std::unique_ptr<char, decltype(&std::free)> text(value, &std::free);
    return text ? text.get() : std::string();
}

} // namespace LinuxPlatform
