#include "InfoPlist.h"

#include "Diagnostics.h"

#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <plist/plist.h>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

namespace LinuxPlatform {

namespace {

std::string readSmallRegularFile(const std::string& path) {
    // Non-blocking, because the path may lead to a pipe without a writer.
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return std::string();
    std::string content;
    struct stat found;
    if (::fstat(file, &found) != 0 || !S_ISREG(found.st_mode) ||
        found.st_size > static_cast<off_t>(INFO_PLIST_LIMIT)) {
        report("CoreServices: %s is not read: it is no regular file of at most %d bytes", path.c_str(),
               static_cast<int>(INFO_PLIST_LIMIT));
    } else {
        content.resize(static_cast<std::size_t>(found.st_size));
        const ssize_t length = ::read(file, content.data(), content.size());
        content.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    }
    ::close(file);
    return content;
}

} // namespace

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
