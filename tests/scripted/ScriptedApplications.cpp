#include "ScriptedApplications.h"

#include "Script.h"

#include <cstdio>
#include <cstring>

using namespace kf::detail;

ScriptedApplications& ScriptedApplications::current() {
    static ScriptedApplications applications;
    return applications;
}

void ScriptedApplications::reset() {
    *this = ScriptedApplications();
}

static CFOwned<CFMutableDictionaryRef> makeInformation() {
    return CFOwned<CFMutableDictionaryRef>(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

void ScriptedApplications::addProcess(const std::string& bundlePath) {
    CFOwned<CFMutableDictionaryRef> information = makeInformation();
    CFDictionarySetValue(information.get(), CFSTR("BundlePath"), makeText(bundlePath).get());
    steps.push_back(Step{noErr, std::move(information)});
}

void ScriptedApplications::addProcessWithout(const std::string&) {
    steps.push_back(Step{noErr, makeInformation()});
}

void ScriptedApplications::addProcessWithNumberFor(const std::string& key) {
    CFOwned<CFMutableDictionaryRef> information = makeInformation();
    CFDictionarySetValue(information.get(), makeText(key).get(), makeNumber(1).get());
    steps.push_back(Step{noErr, std::move(information)});
}

void ScriptedApplications::addVanishedProcess() {
    steps.push_back(Step{noErr, nullptr});
}

void ScriptedApplications::addError(OSErr status) {
    steps.push_back(Step{status, nullptr});
}

// ---- the calls themselves

static ScriptedApplications& applications() {
    return ScriptedApplications::current();
}

static std::string hexadecimal(UInt32 number) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%lx", static_cast<unsigned long>(number));
    return text;
}

// Apple's headers declare these calls as deprecated.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

OSErr GetNextProcess(ProcessSerialNumber* process) {
    size_t& position = applications().position;
    const std::vector<ScriptedApplications::Step>& steps = applications().steps;
    // {0, 0} begins a walk, but is also what the caller still holds after an error at the first step.
    const bool isFirst = process->highLongOfPSN == 0 && process->lowLongOfPSN == kNoProcess;
    const bool isAfterError = position > 0 && position <= steps.size() && steps[position - 1].status != noErr;
    if (isFirst && !isAfterError)
        position = 0;
    Script::current().note(isFirst && position == 0 ? "GetNextProcess(first)" : "GetNextProcess(next)");
    if (position >= steps.size()) {
        position = 0;
        *process = ProcessSerialNumber{0, kNoProcess};
        return procNotFound;
    }
    const OSErr status = steps[position++].status;
    if (status == noErr)
        *process = ProcessSerialNumber{0, static_cast<UInt32>(position)};
    return status;
}

CFDictionaryRef ProcessInformationCopyDictionary(const ProcessSerialNumber* process, UInt32 mask) {
    Script::current().note("ProcessInformationCopyDictionary(" + std::to_string(process->lowLongOfPSN) +
                           ", " + hexadecimal(mask) + ")");
    const CFDictionaryRef information = applications().steps.at(process->lowLongOfPSN - 1).information.get();
    if (information == NULL)
        return NULL;
    const CFDictionaryRef copy = CFDictionaryCreateMutableCopy(kCFAllocatorDefault, 0, information);
    Script::current().handOver(copy, "information of process " + std::to_string(process->lowLongOfPSN));
    return copy;
}

static FSRef referenceTo(const std::string& path) {
    applications().references.push_back(path);
    FSRef reference = FSRef();
    reference.hidden[0] = static_cast<UInt8>(applications().references.size());
    return reference;
}

OSStatus FSPathMakeRef(const UInt8* path, FSRef* reference, Boolean* isDirectory) {
    const std::string text = reinterpret_cast<const char*>(path);
    Script::current().note("FSPathMakeRef(" + text + (isDirectory == NULL ? ")" : ", directory flag)"));
    const auto found = applications().referenceStatus.find(text);
    if (found != applications().referenceStatus.end())
        return found->second;
    *reference = referenceTo(text);
    return noErr;
}

OSStatus LSOpenApplication(const LSApplicationParameters* parameters, ProcessSerialNumber* process) {
    const std::string path = applications().references.at(parameters->application->hidden[0] - 1u);
    const bool hasNothingElse = parameters->version == 0 && parameters->asyncLaunchRefCon == NULL &&
                                parameters->environment == NULL && parameters->argv == NULL &&
                                parameters->initialEvent == NULL && process == NULL;
    Script::current().note("LSOpenApplication(" + path + ", " + hexadecimal(parameters->flags) +
                           (hasNothingElse ? ")" : ", something else)"));
    const auto found = applications().launchStatus.find(path);
    if (found != applications().launchStatus.end())
        return found->second;
    if (applications().launchedApplicationsRun)
        applications().addProcess(path);
    return noErr;
}

#pragma GCC diagnostic pop

OSErr FSFindFolder(FSVolumeRefNum, OSType, Boolean, FSRef* reference) {
    if (applications().standardFolder.empty())
        return fnfErr;
    *reference = referenceTo(applications().standardFolder);
    return noErr;
}

OSStatus FSRefMakePath(const FSRef* reference, UInt8* path, UInt32 size) {
    const std::string& text = applications().references.at(reference->hidden[0] - 1u);
    std::snprintf(reinterpret_cast<char*>(path), size, "%s", text.c_str());
    return noErr;
}
