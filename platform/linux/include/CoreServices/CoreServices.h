#pragma once

// File Manager, Folder Manager and Launch Services: the calls that the product makes, with their documented
// behaviour, on Linux. All paths are UTF-8 and end with a NUL; all calls may be made on any thread. A call
// blocks only on the file system, and LSOpenApplication also on another call of it.
//
// PLATFORM_ROOT. If this environment variable is set and not empty, the layer takes that folder as the root
// of the machine for application bundles (absolute paths that have a component ending in ".app"), for the
// local domain of FSFindFolder, and for the list of running applications, which then holds only those inside
// the root and reports their bundle paths without it. Demos, tests and images are run this way. Everything
// else, the user's own folders above all, stays where it is. Trailing separators are ignored; a relative
// folder counts from the current one; if the folder does not exist, no bundle exists. A path that is already
// inside the root is taken as it is. Every call reads the variable anew.

#include <CoreFoundation/CoreFoundation.h>
#include <MacTypes.h>

extern "C" {

// ---- Results of the File Manager and the Folder Manager

enum {
    nsvErr = -35,           // the domain is not one that FSFindFolder knows
    ioErr = -36,            // the file system failed
    bdNamErr = -37,         // a name in the path is too long
    tmfoErr = -42,          // no file descriptor left
    fnfErr = -43,           // nothing there (any more), or no such folder type
    opWrErr = -49,          // somebody has the file open for writing
    paramErr = -50,         // an argument is null that must not be, or a record has an unknown version
    memFullErr = -108,      // no memory, or no process could be created
    procNotFound = -600,    // the list of processes is exhausted
    errFSBadFSRef = -1401,  // the reference was never filled in
    pathTooLongErr = -2110, // the path does not fit the buffer
    afpAccessDenied = -5000 // the file system refuses
};

// ---- File references

/// Identifies one file or folder. Opaque, of fixed size, copied freely, valid within this process only, never
/// released. One made by FSPathMakeRef follows its object's path, not the object: once that path is gone or
/// names another object, every call with the reference returns fnfErr.
struct FSRef {
    UInt8 hidden[80];
};
typedef struct FSRef FSRef;

/// Makes a reference to the object at `path`, with symbolic links followed. A relative path counts from the
/// current folder.
/// @param isDirectory  set to whether it is a folder; may be null
/// @return noErr; fnfErr: nothing there, or a dangling link; afpAccessDenied: a folder on the way may not be
///         searched; bdNamErr: a name is too long; ioErr: links in a circle, or a failing disk;
///         paramErr: `path` or `ref` is null. `ref` and `isDirectory` are written on success only.
OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory);

/// Stores the path of a reference, absolute, without links and without a trailing separator, PLATFORM_ROOT
/// included: a path for open(2).
/// @param pathBufferSize  size of the buffer in bytes; the final NUL must fit too
/// @return noErr; pathTooLongErr: the buffer is too small (nothing is written); fnfErr: the object is gone;
///         errFSBadFSRef; paramErr: `ref` or `path` is null
OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 pathBufferSize);

// ---- Standard folders

typedef SInt16 FSVolumeRefNum;

enum {
    kLocalDomain = -32765, // all users of this machine
    kUserDomain = -32763   // the user's own
};

enum { kCreateFolder = true, kDontCreateFolder = false };

enum { kApplicationSupportFolderType = 0x61737570 }; // 'asup'

/// Finds a standard folder.
///
/// Local domain: /var/lib, below PLATFORM_ROOT. User domain: $XDG_DATA_HOME if it is an absolute path, else
/// .local/share in the home folder ($HOME if absolute, else the one of the user database).
///
/// A folder that does not exist (yet) is found all the same, with kDontCreateFolder too. On macOS the system
/// creates these folders together with the account, so callers use the path without a check; on Linux the
/// first program that needs them creates them, and the launcher may be that program. An error here would send
/// a new account's trace and log files to a path without a beginning. So the reference stands for the path,
/// and FSRefMakePath returns it whether or not it exists.
///
/// @param createFolder  kCreateFolder makes the folder, and those on the way: private (0700) in the user
///         domain, but not the home folder and what is above it, and 0755 in the local one; kDontCreateFolder
///         touches nothing
/// @return noErr; nsvErr: another domain; fnfErr: another folder type, or a user without a home; paramErr:
///         `foundRef` is null; with kCreateFolder also what stopped the creation (afpAccessDenied, ioErr,
///         bdNamErr; fnfErr: the home folder does not exist, or a file is in the way)
OSErr FSFindFolder(FSVolumeRefNum vRefNum, OSType folderType, Boolean createFolder, FSRef* foundRef);

// ---- Launch Services

enum {
    kLSExecutableIncorrectFormat = -10661, // this system cannot run the executable
    kLSUnknownErr = -10810,                // any other reason
    kLSNotAnApplicationErr = -10811,       // the reference is not to an .app bundle
    kLSNoLaunchPermissionErr = -10826,     // the user may not execute it
    kLSNoExecutableErr = -10827            // the bundle has no executable, or names one outside itself
};

typedef OptionBits LSLaunchFlags;

enum {
    kLSLaunchDefaults = 0x00000001,
    kLSLaunchAndHide = 0x00100000 // the application should begin hidden
};

typedef const struct __CFArray* CFArrayRef; // only named here; nothing in this layer uses these two
typedef struct AEDesc AEDesc;
typedef AEDesc AERecord;
typedef AERecord AppleEvent;

/// What to open and how. The caller owns everything that the record points to. Packed as on macOS, whose
/// records of this age keep the alignment of the 68000: with 64 bits there is no padding behind the flags.
#pragma pack(push, 2)
typedef struct LSApplicationParameters {
    CFIndex version; // 0
    LSLaunchFlags flags;
    const FSRef* application;    // a bundle, from FSPathMakeRef
    void* asyncLaunchRefCon;     // ignored: this layer sends no launch notifications
    CFDictionaryRef environment; // null; anything else is refused, as are the next two
    CFArrayRef argv;
    AppleEvent* initialEvent;
} LSApplicationParameters;
#pragma pack(pop)

/// Starts an application bundle, unless it is running already. Returns when its executable has begun to run
/// or has failed to.
///
/// The executable is Contents/MacOS/<name>, where the name is CFBundleExecutable of Contents/Info.plist (text
/// or binary); without that key, or without a readable Info.plist of at most 64 KB, it is the bundle's own
/// name without ".app". A name with a "/" in it is refused.
///
/// The process gets no arguments; the caller's environment with the variables below; folder "/"; standard
/// input, output and error on /dev/null; no other open file; every signal at its default and none blocked;
/// the umask that this process was started with, whatever it has set since; a session of its own, so that no
/// terminal and no process group ties it to the caller. It is not a child of this process: its end sends no
/// SIGCHLD and leaves no zombie, even if this process adopts orphans (PR_SET_CHILD_SUBREAPER). Process 1 of a
/// container is the exception: the kernel makes it the parent of every orphan.
///
///     PLATFORM_LAUNCHED=<process id>:<bundle path>
///         Tells the process list which bundle the process runs, also when its file is a script's interpreter
///         or lies outside the bundle. A child of the application inherits it, but has another id.
///     PLATFORM_LAUNCH_HIDDEN=1
///         With kLSLaunchAndHide only: begin without showing a window, as the window system asks for on
///         macOS. The application should remove it from its environment once it has read it.
///
/// If it is running already, in the sense of GetNextProcess, nothing is started and the result is noErr, as
/// documented. On macOS the running application also comes to the front; no call for that works on every
/// Linux desktop, so it stays where it is. If two threads, or two processes of this user (and PLATFORM_ROOT),
/// open one bundle, the second waits and finds it running: each holds a lock, in /run/user/<id> or
/// /tmp/zevolauncher-<id>, from its check of what runs until the start is known. After 10 seconds of waiting,
/// or if no lock can be taken, it continues without one and reports that on standard error.
///
/// @param outPSN  set on success to the application started or found running; may be null
/// @return noErr, or
///         fnfErr                        the bundle is gone
///         kLSNotAnApplicationErr        not a folder named *.app, nor a link of that name to a folder
///         kLSNoExecutableErr            no such file in it, not a regular one, or a name that is refused
///         kLSNoLaunchPermissionErr      the file may not be executed by this user
///         kLSExecutableIncorrectFormat  it is not a program for this system, or its interpreter is missing
///         opWrErr                       somebody is writing to it
///         tmfoErr, memFullErr, ioErr    as their names say
///         procNotFound                  the running applications are unknown: /proc is missing, or does not
///                                       show this process; nothing is started
///         kLSUnknownErr                 anything else that stopped it
///         errFSBadFSRef                 the reference was never filled in
///         paramErr                      a null record or application, another version, or one of the fields
///                                       that must be null
OSStatus LSOpenApplication(const LSApplicationParameters* appParams, ProcessSerialNumber* outPSN);

} // extern "C"
