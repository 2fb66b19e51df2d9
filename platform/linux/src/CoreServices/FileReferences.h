#pragma once

#include <CoreServices/CoreServices.h>
#include <string>

// What an FSRef contains. The record of 80 bytes holds the number of an interned pair of paths, and the
// device and inode of the object when it was made. So a path of any length fits, the record can be copied and
// forgotten, and a path that now names another object is detected. The table of paths grows with the number
// of different paths, and is never freed.

namespace LinuxPlatform {

struct ReferencedPath {
    std::string real;  // links resolved
    std::string named; // as the caller wrote it, absolute, below the root if there is one
};

/// A reference to the path itself (absolute, without a trailing separator), whatever is there.
FSRef referenceToPlace(const std::string& path);

/// The paths behind a reference. The results are those of FSRefMakePath: errFSBadFSRef, fnfErr, ... Any
/// thread.
OSStatus resolveReference(const FSRef& ref, ReferencedPath& path);

/// The File Manager's result for an errno.
OSStatus statusOfErrno(int error);

} // namespace LinuxPlatform
