#pragma once

#include <CoreServices/CoreServices.h>

/// An application bundle that the launcher starts.
struct LauncherApplication {
    const char* path;
    LSLaunchFlags flags;
};

/// Both, in the order in which they are started.
inline constexpr LauncherApplication LAUNCHER_APPLICATIONS[] = {
    {"/Applications/Quillmarsh.app", kLSLaunchDefaults},
    {"/Applications/Quillmarsh.app/Contents/MacOS/Murmel.app", kLSLaunchAndHide},
};
