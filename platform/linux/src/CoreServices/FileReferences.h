#pragma once

#include <CoreServices/CoreServices.h>
#include <string>

// What stands behind an FSRef. The record of 80 bytes holds the number of an interned pair of paths, and the
// device and inode of the object when it was made: a path of any length fits, the record can be copied and
// forgotten, and a path that has come to name something else is noticed. The table of paths grows with the
// number of different paths referred to, and lives as long as the process.

namespace LinuxPlatform {

struct ReferencedPath {
    std::string real;  // links resolved
    std::string named; // as the caller wrote it, absolute, below the root where one is set
};

/// A reference to the place `path` (absolute, without a trailing separator), whatever lies there.
FSRef referenceToPlace(const std::string& path);

/// The paths behind a reference. Answers as FSRefMakePath does: errFSBadFSRef, fnfErr, ... Any thread.
OSStatus resolveReference(const FSRef& ref, ReferencedPath& path);

/// The File Manager's result for an errno.
OSStatus statusOfErrno(int error);

} // namespace LinuxPlatform
