#include "BundleExecutable.h"
#include "Bundles.h"
#include "DetachedProcess.h"
#include "FileReferences.h"
#include "HangingCall.h"
#include "LaunchLock.h"
#include "LaunchStatus.h"
#include "ProcessFolder.h"
#include "RunningApplications.h"

#include <cerrno>
#include <chrono>
#include <ctime>
#include <mutex>
#include <unistd.h>

using namespace LinuxPlatform;

namespace {

const std::chrono::seconds LONGEST_WAIT_FOR_ANOTHER(10);
const char HIDDEN_VARIABLE[] = "PLATFORM_LAUNCH_HIDDEN=";

bool isWithoutUnsupportedFields(const LSApplicationParameters& parameters) {
    return parameters.version == 0 && parameters.environment == nullptr && parameters.argv == nullptr &&
           parameters.initialEvent == nullptr;
}

OSStatus findRunning(const ReferencedPath& bundle, bool& isRunning, RunningApplication& running) {
    const int error = findRunningApplicationOf(bundle.real, isRunning, running);
    if (error == ESRCH)
        return procNotFound;
    return error == 0 ? static_cast<OSStatus>(noErr) : statusOfErrno(error);
}

bool beginsWith(const std::string& text, const char* beginning) {
    return text.rfind(beginning, 0) == 0;
}

DetachedProcess planOf(const std::string& file, const ReferencedPath& bundle, LSLaunchFlags flags) {
    DetachedProcess plan;
    plan.file = file;
    plan.pidPlace = std::string(LAUNCHED_VARIABLE).size();
    plan.pidWidth = LAUNCHED_PID_WIDTH;
    plan.environment.push_back(LAUNCHED_VARIABLE + std::string(LAUNCHED_PID_WIDTH, '0') + ":" + bundle.named);
    if ((flags & kLSLaunchAndHide) != 0)
        plan.environment.push_back(HIDDEN_VARIABLE + std::string("1"));
    for (char** entry = ::environ; entry != nullptr && *entry != nullptr; ++entry)
        if (!beginsWith(*entry, LAUNCHED_VARIABLE) && !beginsWith(*entry, HIDDEN_VARIABLE))
            plan.environment.push_back(*entry);
    return plan;
}

/// A process has its executable a moment before it has its environment. Until then another process's list of
/// running applications would miss a script's bundle, and that process might start it again. The wait is
/// limited, since the process may never get one (it may have cleared it itself).
void awaitEnvironment(pid_t pid) {
    for (int tries = 0; tries < 200 && !isComplete(pid); ++tries) {
        const struct timespec pause = {0, 100 * 1000};
        ::nanosleep(&pause, nullptr);
    }
}

OSStatus openApplication(const LSApplicationParameters& parameters, ProcessSerialNumber* number) {
    ReferencedPath bundle;
    OSStatus status = resolveReference(*parameters.application, bundle);
    if (status == noErr)
        status = checkBundle(bundle);
    if (status != noErr)
        return status;

    // If two threads, or two launchers, open one bundle, the second must find it running. So check again
    // under the locks, whatever the caller has seen before: the first one may have started it meanwhile.
    static std::mutex oneAtATime;
    const std::lock_guard<std::mutex> oneThread(oneAtATime);
    const LaunchLock oneLauncher(launchLockFile(), LONGEST_WAIT_FOR_ANOTHER);
    bool isRunning = false;
    RunningApplication application;
    status = findRunning(bundle, isRunning, application);
    if (status == noErr && !isRunning) {
        std::string file;
        status = findBundleExecutable(bundle, file);
        if (status != noErr)
            return status;
        pid_t pid = 0;
        const int error = startDetached(planOf(file, bundle, parameters.flags), pid);
        if (error != 0)
            return statusOfFailedStart(error, file);
        application = noteStartedApplication(pid, bundle.named, file);
        awaitEnvironment(pid);
    }
    if (status == noErr && number != nullptr)
        *number = serialNumberOf(application);
    return status;
}

} // namespace

OSStatus LSOpenApplication(const LSApplicationParameters* appParams, ProcessSerialNumber* outPSN) {
    if (appParams == nullptr || appParams->application == nullptr || !isWithoutUnsupportedFields(*appParams))
        return paramErr;
    return makeHangingCall([=] { return openApplication(*appParams, outPSN); });
}
