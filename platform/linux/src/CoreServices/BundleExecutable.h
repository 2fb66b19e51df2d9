#pragma once

#include "FileReferences.h"

#include <CoreServices/CoreServices.h>
#include <string>

// Finds the file that an application bundle is started by. Starts nothing; any thread.

namespace LinuxPlatform {

/// Whether something is an application bundle.
/// @return noErr, kLSNotAnApplicationErr, or the result for the errno of stat(2)
OSStatus checkBundle(const ReferencedPath& bundle);

/// The file that a bundle is started by: CFBundleExecutable of its Info.plist, else its own name, in
/// Contents/MacOS.
/// @return noErr; kLSNoExecutableErr: there is none, or it would be elsewhere (`file` is then the path that
///     was tried, if any); kLSNoLaunchPermissionErr: this user may not search a folder on the way
OSStatus findBundleExecutable(const ReferencedPath& bundle, std::string& file);

} // namespace LinuxPlatform
