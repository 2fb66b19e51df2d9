#pragma once

// Process Manager: the list of running applications, read from /proc. All calls may be made on any thread.
//
// An application is a process of this user's that runs an .app bundle. Its bundle is
//   - the one that LSOpenApplication started it for, even if the bundle was moved, replaced or deleted since,
//     and even if the process runs a script or a file elsewhere. This process recognises what it has started
//     by a pidfd or, if there is none, by process id and start time; other processes read a note in the
//     environment; otherwise
//   - the innermost folder named *.app that contains its executable, by whole path components: an executable
//     /Applications/A.app/Contents/MacOS/B.app/Contents/MacOS/B belongs to B.app; otherwise,
//   - for an interpreter that runs a script which begins with "#!", the same for the script's path.
// If the system does not show which file a process runs (file capabilities, a set-user-id bit, a process that
// has made itself undumpable), the first word of its command line counts, if it is the absolute path of a
// file in a bundle and the kernel knows the process by that file's name. Every process that runs such a
// bundle counts, a helper tool inside the bundle too. Zombies, and processes that other users have started,
// do not; nor does this process, or another one of the same executable: a launcher inside a bundle is not the
// bundle's application. With PLATFORM_ROOT set, only bundles inside the root count (see
// <CoreServices/CoreServices.h>). A process that was not an application is not inspected again until it runs:
// one whose folder is renamed to a bundle while it sleeps is listed when it wakes up.

#include <CoreServices/CoreServices.h>

extern "C" {

enum { kNoProcess = 0 };

enum { kProcessDictionaryIncludeAllInformationMask = static_cast<int>(0xFFFFFFFF) };

/// Steps to the next application. {0, kNoProcess} begins a walk: first come the applications that this
/// process has started, which are known without reading any other process, then the others, listed when the
/// walk reaches them. Each part is in ascending order of process ids and is read once, so a walk ends even if
/// processes come and go. A serial number whose process has ended meanwhile is stepped over like any other.
/// @param psn  in: the application to step from; out: the next one, or {0, kNoProcess} after the last
/// @return noErr; procNotFound: there is no further one, or the list cannot be read, for instance without a
///     descriptor to read /proc, or because /proc does not show this very process (never another error for
///     that: callers retry after any other error; LSOpenApplication, which also reads the list, then starts
///     nothing); paramErr: `psn` is null
OSErr GetNextProcess(ProcessSerialNumber* psn);

/// Describes one application.
/// @param infoToReturn  kProcessDictionaryIncludeAllInformationMask; any other value returns all, too
/// @return a dictionary that the caller releases, or null if that application has ended. Its keys:
///         "PSN" (CFNumber, 64 bits: the high word, then the low word), "pid" (CFNumber, a long),
///         "BundlePath" (CFString), "CFBundleName" (CFString: the bundle's name without ".app"),
///         "CFBundleExecutable" (CFString: the path of the file that the process runs). A text that is not
///         UTF-8 is left out.
CFDictionaryRef ProcessInformationCopyDictionary(const ProcessSerialNumber* psn, UInt32 infoToReturn);

} // extern "C"
