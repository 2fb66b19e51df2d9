#pragma once

// Process Manager: the list of running applications, read from /proc. All calls may be made on any thread.
//
// An application is a process of this user's that runs an .app bundle. Its bundle is
//   - the one that LSOpenApplication started it for, also when the bundle has been moved, replaced or deleted
//     since, and when the process runs a script or a file elsewhere. This process knows what it has
//     started by a descriptor of the process, or by process id and start time where there is none to be had;
//     others are told by a note in the environment; else
//   - the innermost folder named *.app that its executable lies in, by whole path components: an executable
//     /Applications/A.app/Contents/MacOS/B.app/Contents/MacOS/B belongs to B.app; else,
//   - for an interpreter at work on a script that begins with "#!", the same for the script's path.
// Where the system tells nobody which file a process runs (file capabilities, a set-user-id bit, a process
// that has asked not to be looked into), the first word of its command line counts, if it is the absolute
// path of a file in a bundle and the kernel knows the process by that file's name. Every process that runs
// such a bundle counts, a helper tool inside the bundle too. Processes that have ended but not been waited
// for, and those that other users have started, do not; nor does this process, or another one of the same
// executable: a launcher that lies in a bundle is not the bundle's application. With PLATFORM_ROOT set, only
// bundles inside the root count (see <CoreServices/CoreServices.h>). A process that was none of these stays
// none until it runs again: one whose folder is renamed to a bundle in its sleep is listed when it wakes up.

#include <CoreServices/CoreServices.h>

extern "C" {

enum { kNoProcess = 0 };

enum { kProcessDictionaryIncludeAllInformationMask = static_cast<int>(0xFFFFFFFF) };

/// Steps to the next application. {0, kNoProcess} begins a walk: first come the applications that this process has
/// started, known without a look at any other process, then the others, listed anew when the walk reaches them. Each
/// part comes in ascending order of process ids and is taken once, so a walk ends even where processes come and
/// go. A serial number whose process has ended meanwhile is stepped over like any other.
/// @param psn  in: the application to step from; out: the next one, or {0, kNoProcess} after the last
/// @return noErr; procNotFound: there is no further one, or the list cannot be told, for instance without a
///     descriptor to read /proc, or where /proc does not show this very process (never another error for
///     that: callers ask again after any error but this one; LSOpenApplication, which looks too, then starts
///     nothing); paramErr: `psn` is null
OSErr GetNextProcess(ProcessSerialNumber* psn);

/// Tells about one application.
/// @param infoToReturn  kProcessDictionaryIncludeAllInformationMask; any other value gets all as well
/// @return a dictionary that the caller releases, or null when that application has ended. Its keys:
///         "PSN" (CFNumber, 64 bits: the high word, then the low word), "pid" (CFNumber, a long),
///         "BundlePath" (CFString), "CFBundleName" (CFString: the bundle's name without ".app"),
///         "CFBundleExecutable" (CFString: the path of the file that the process runs). A text that is not
///         UTF-8 is left out.
CFDictionaryRef ProcessInformationCopyDictionary(const ProcessSerialNumber* psn, UInt32 infoToReturn);

} // extern "C"
