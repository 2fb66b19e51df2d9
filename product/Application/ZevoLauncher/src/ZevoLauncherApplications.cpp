#include "CallMarker.h"
#include "LauncherApplication.h"
#include "ZevoLauncher.h"
#include "detail/CFOwned.h"

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

using namespace kf::detail;

// What the launcher asks of the system about the applications: which of them are running, and to start one.

/// All bits set: every key that the Process Manager knows.
static const UInt32 ALL_INFORMATION = 0xFFFFFFFF;

namespace {

CFOwned<CFStringRef> makeString(const char* text) {
    return CFOwned<CFStringRef>(CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingASCII));
}

/// Whether the process information has exactly this text under the key.
bool hasText(CFDictionaryRef information, CFStringRef key, CFStringRef text) {
    const CFTypeRef value = CFDictionaryGetValue(information, key);
    return value != nullptr && CFGetTypeID(value) == CFStringGetTypeID() &&
           CFStringCompare(static_cast<CFStringRef>(value), text, 0) == kCFCompareEqualTo;
}

} // namespace

// The Process Manager, the File Manager and this call of Launch Services are deprecated since macOS 10.8 to
// 10.10. They are what 32-bit macOS has, and later systems still include them.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

void ZevoLauncher::processDevice() {
    TRACE_METHOD();
    for (const LauncherApplication& application : LAUNCHER_APPLICATIONS) {
        if (isProcessRunning(application.path)) {
            TRACE_MESSAGE(MSG_DEBUG, "Executable already running : %s", application.path);
            continue;
        }
        TRACE_MESSAGE(MSG_DEBUG, "Start executable : %s", application.path);
        FSRef reference;
        OSStatus status =
            FSPathMakeRef(reinterpret_cast<const UInt8*>(application.path), &reference, nullptr);
        if (status != noErr) {
            TRACE_MESSAGE(MSG_DEBUG, "FSPathMakeRef failed : status = %d", static_cast<int>(status));
            continue;
        }
        LSApplicationParameters parameters = {};
        parameters.flags = application.flags;
        parameters.application = &reference;
        status = LSOpenApplication(&parameters, nullptr);
        if (status != noErr)
            TRACE_MESSAGE(MSG_ERROR, "LSOpenApplication failed : status = %d", static_cast<int>(status));
    }
}

bool ZevoLauncher::isProcessRunning(std::string bundlePath) {
    TRACE_METHOD();
    const CFOwned<CFStringRef> path = makeString(bundlePath.c_str());
    const CFOwned<CFStringRef> key = makeString("BundlePath");
    if (!path || !key)
        return false;
    ProcessSerialNumber process = {0, kNoProcess};
    for (;;) {
        const OSStatus status = GetNextProcess(&process);
        if (status == procNotFound)
            return false;
        // DELIBERATE: retried after any other failure; only the end of the list ends the loop.
        if (status != noErr)
            continue;
        const CFOwned<CFDictionaryRef> information(
            ProcessInformationCopyDictionary(&process, ALL_INFORMATION));
        if (information && hasText(information.get(), key.get(), path.get()))
            return true;
    }
}

#pragma GCC diagnostic pop
