#pragma once

#include "FileReferences.h"

#include <CoreServices/CoreServices.h>
#include <string>

// Which file an application bundle is started by. Looks, starts nothing; any thread.

namespace LinuxPlatform {

/// Whether something is an application bundle.
/// @return noErr, kLSNotAnApplicationErr, or what the system says of the path
OSStatus checkBundle(const ReferencedPath& bundle);

/// The file that a bundle is started by: CFBundleExecutable of its Info.plist, else its own name, in Contents/MacOS.
/// @return noErr; kLSNoExecutableErr: there is none, or it would lie elsewhere (then `file` says which was looked for,
///     where one was); kLSNoLaunchPermissionErr: this user may not look
OSStatus findBundleExecutable(const ReferencedPath& bundle, std::string& file);

} // namespace LinuxPlatform
