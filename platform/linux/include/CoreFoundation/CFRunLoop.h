#pragma once

// One run loop per thread. It sleeps in poll(2) until one of its sources has something to deliver, and
// delivers it on its own thread; while nothing happens it does not wake up at all.

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDate.h>
#include <CoreFoundation/CFString.h>

typedef CFStringRef CFRunLoopMode;
typedef LinuxPlatform::RunLoop* CFRunLoopRef;
typedef LinuxPlatform::RunLoopSource* CFRunLoopSourceRef;

enum CFRunLoopRunResult : SInt32 {
    kCFRunLoopRunFinished = 1,     ///< no source is left in the mode
    kCFRunLoopRunStopped = 2,      ///< CFRunLoopStop
    kCFRunLoopRunTimedOut = 3,     ///< the time is up
    kCFRunLoopRunHandledSource = 4 ///< one source has delivered, as requested
};

CF_EXPORT const CFRunLoopMode kCFRunLoopDefaultMode;
/// Not a mode to run in: a source added to it is in every common mode, that is in the default mode.
CF_EXPORT const CFRunLoopMode kCFRunLoopCommonModes;

CF_EXPORT CFTypeID CFRunLoopGetTypeID(void);
/// Borrowed. The calling thread's loop lives as long as the thread, or longer if it is retained.
CF_EXPORT CFRunLoopRef CFRunLoopGetCurrent(void);

/// Runs the calling thread's loop in the default mode until its last source is gone or it is stopped.
CF_EXPORT void CFRunLoopRun(void);
/// Runs for at most `seconds`; 0 makes one pass, which calls at most one callback per source. May be called
/// from a callback.
CF_EXPORT CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                                Boolean returnAfterSourceHandled);
/// TRUE while the loop's thread sleeps in it. Any thread.
CF_EXPORT Boolean CFRunLoopIsWaiting(CFRunLoopRef loop);
/// Any thread.
CF_EXPORT void CFRunLoopWakeUp(CFRunLoopRef loop);
/// Ends the innermost run of the loop, after the callback that is running; no effect on a loop that does not
/// run. Any thread.
CF_EXPORT void CFRunLoopStop(CFRunLoopRef loop);

CF_EXPORT Boolean CFRunLoopContainsSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);
/// Any thread. The loop owns the source while it contains it. Adding a source twice is the same as once.
CF_EXPORT void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);
CF_EXPORT void CFRunLoopRemoveSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);

CF_EXPORT CFTypeID CFRunLoopSourceGetTypeID(void);
/// Removes the source from every loop, for good.
CF_EXPORT void CFRunLoopSourceInvalidate(CFRunLoopSourceRef source);
CF_EXPORT Boolean CFRunLoopSourceIsValid(CFRunLoopSourceRef source);
