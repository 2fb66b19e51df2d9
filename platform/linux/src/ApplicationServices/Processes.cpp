#include "../CoreServices/Bundles.h"
#include "../CoreServices/RunningApplications.h"
#include "Object.h"

#include <ApplicationServices/ApplicationServices.h>
#include <algorithm>
#include <mutex>
#include <type_traits>

using namespace LinuxPlatform;

namespace {

/// The list that walks step through, that of the latest walk. The applications that this process has started
/// come first: they are known without reading any other process, and a walk that ends among them does not
/// list the others.
struct Walk {
    std::mutex mutex;
    std::vector<RunningApplication> started; // both by ascending process ids
    std::vector<RunningApplication> others;
    bool hasOthers = false;
};

Walk& walk() {
    static Walk& state = *new Walk; // never destroyed: a walk may run until the very end of the process
    return state;
}

/// Null if none has a higher process id.
const RunningApplication* firstAfter(const std::vector<RunningApplication>& applications, pid_t pid) {
    const auto next = std::upper_bound(
        applications.begin(), applications.end(), pid,
        [](pid_t wanted, const RunningApplication& application) { return wanted < application.pid; });
    return next == applications.end() ? nullptr : &*next;
}

bool hasProcess(const std::vector<RunningApplication>& applications, pid_t pid) {
    return std::any_of(
        applications.begin(), applications.end(),
        [pid](const RunningApplication& application) { return application.pid == pid; });
}

template <typename Ref>
using OwnedRef = Owned<std::remove_pointer_t<Ref>>;

void addText(CFMutableDictionaryRef dictionary, CFStringRef key, const std::string& text) {
    const OwnedRef<CFStringRef> value(
        CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8));
    if (value)
        CFDictionarySetValue(dictionary, key, value.get());
}

void addNumber(CFMutableDictionaryRef dictionary, CFStringRef key, CFNumberType type, const void* number) {
    const OwnedRef<CFNumberRef> value(CFNumberCreate(kCFAllocatorDefault, type, number));
    CFDictionarySetValue(dictionary, key, value.get());
}

} // namespace

OSErr GetNextProcess(ProcessSerialNumber* psn) {
    if (psn == nullptr)
        return paramErr;
    Walk& current = walk();
    std::lock_guard<std::mutex> lock(current.mutex);
    auto from = static_cast<pid_t>(psn->lowLongOfPSN);
    if (psn->highLongOfPSN == 0 && psn->lowLongOfPSN == kNoProcess) {
        listStartedApplications(current.started);
        current.others.clear();
        current.hasOthers = false;
    }
    const RunningApplication* next = nullptr;
    if (from == static_cast<pid_t>(kNoProcess) || hasProcess(current.started, from)) {
        next = firstAfter(current.started, from);
        from = kNoProcess;
    }
    if (next == nullptr) {
        if (!current.hasOthers) {
            // An unreadable /proc counts as an empty list: a caller that retries after errors must come to an
            // end.
            listRunningApplications(current.others);
            const auto isStarted = [&](const RunningApplication& other) {
                return hasProcess(current.started, other.pid);
            };
            current.others.erase(std::remove_if(current.others.begin(), current.others.end(), isStarted),
                                 current.others.end());
            current.hasOthers = true;
        }
        next = firstAfter(current.others, from);
    }
    if (next == nullptr) {
        *psn = {0, kNoProcess};
        return procNotFound;
    }
    *psn = serialNumberOf(*next);
    return noErr;
}

CFDictionaryRef ProcessInformationCopyDictionary(const ProcessSerialNumber* psn, UInt32) {
    RunningApplication application;
    if (psn == nullptr || findRunningApplication(static_cast<pid_t>(psn->lowLongOfPSN), application) != 0)
        return nullptr;
    const ProcessSerialNumber now = serialNumberOf(application);
    if (now.highLongOfPSN != psn->highLongOfPSN)
        return nullptr; // the id now belongs to another process
    const std::string bundle = outOfRoot(application.bundle);
    const std::string bundleName = lastComponent(bundle);
    const long long number =
        static_cast<long long>(static_cast<UInt64>(now.highLongOfPSN) << 32 | now.lowLongOfPSN);
    const long pid = application.pid;
    const CFMutableDictionaryRef information = CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    addNumber(information, CFSTR("PSN"), kCFNumberLongLongType, &number);
    addNumber(information, CFSTR("pid"), kCFNumberLongType, &pid);
    addText(information, CFSTR("BundlePath"), bundle);
    addText(information, CFSTR("CFBundleName"), bundleName.substr(0, bundleName.size() - 4));
    addText(information, CFSTR("CFBundleExecutable"), application.executable);
    return information;
}
