#include "detail/FileAttributes.h"

#include <algorithm>
#include <cstring>
#include <linux/limits.h>
#include <string>
#include <sys/types.h>
#include <sys/xattr.h>
#include <vector>

namespace kf::detail {

namespace {

const char ACCESS_LIST[] = "system.posix_acl_access";
/// File capabilities were granted to the old content, so they must not pass to the new one. The kernel also
/// removes them when a file is written.
const char CAPABILITIES[] = "security.capability";

bool copyAttribute(int from, int to, const char* name) {
    std::vector<char> value(XATTR_SIZE_MAX);
    const ssize_t size = fgetxattr(from, name, value.data(), value.size());
    return size >= 0 && fsetxattr(to, name, value.data(), static_cast<std::size_t>(size), 0) == 0;
}

} // namespace

bool copyAttributes(int from, int to) {
    // A new file may have inherited its folder's default access list.
    fremovexattr(to, ACCESS_LIST);
    std::string names(XATTR_LIST_MAX, '\0'); // each with its NUL
    const ssize_t size = flistxattr(from, names.data(), names.size());
    names.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
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
