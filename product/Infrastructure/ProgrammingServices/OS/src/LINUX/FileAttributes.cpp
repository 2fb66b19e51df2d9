#include "detail/FileAttributes.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/types.h>
#include <sys/xattr.h>

namespace kf::detail {

namespace {

const char ACCESS_LIST[] = "system.posix_acl_access";
/// The right to run as more than its user belongs to the content that was given it; a write into the file
/// would take it away, too.
const char CAPABILITIES[] = "security.capability";

/// What fgetxattr and flistxattr answer, whatever its length. False when there is nothing to be had.
template <typename Ask>
bool readAttribute(std::string& value, Ask ask) {
    for (;;) {
        const ssize_t size = ask(nullptr, 0);
        if (size < 0)
            return false;
        value.resize(static_cast<std::size_t>(size));
        const ssize_t length = size > 0 ? ask(value.data(), value.size()) : 0;
        if (length >= 0) {
            value.resize(static_cast<std::size_t>(length));
            return true;
        }
        if (errno != ERANGE) // it has grown meanwhile
            return false;
    }
}

bool copyAttribute(int from, int to, const char* name) {
    std::string value;
    return readAttribute(
               value, [&](char* buffer, std::size_t size) { return fgetxattr(from, name, buffer, size); }) &&
           fsetxattr(to, name, value.data(), value.size(), 0) == 0;
}

} // namespace

bool copyAttributes(int from, int to) {
    // A new file may have got the list that its folder has for new files.
    fremovexattr(to, ACCESS_LIST);
    std::string names; // each with its zero byte
    readAttribute(names, [from](char* buffer, std::size_t size) { return flistxattr(from, buffer, size); });
    bool isListKept = true;
    for (std::size_t begin = 0; begin < names.size(); begin += strlen(&names[begin]) + 1) {
        const char* const name = &names[begin];
        if (strcmp(name, CAPABILITIES) != 0 && !copyAttribute(from, to, name) &&
            strcmp(name, ACCESS_LIST) == 0)
            isListKept = false;
    }
    return isListKept;
}

} // namespace kf::detail
