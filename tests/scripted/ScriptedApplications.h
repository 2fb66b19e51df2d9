#pragma once

#include "detail/CFOwned.h"

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

#include <map>
#include <string>
#include <vector>

/// The answers that the Process Manager, the File Manager and Launch Services give.
class ScriptedApplications {
public:
    static ScriptedApplications& current();
    void reset();

    /// One answer of GetNextProcess: a status, or a process with its information.
    struct Step {
        OSErr status;
        kf::detail::CFOwned<CFDictionaryRef> information; // null: the process has gone
    };

    void addProcess(const std::string& bundlePath);
    void addProcessWithout(const std::string& key);
    void addProcessWithNumberFor(const std::string& key);
    void addVanishedProcess();
    void addError(OSErr status);
    /// No process at all.
    void quitAll() { steps.clear(); }

    /// What each walk through the processes meets before its end.
    std::vector<Step> steps;
    /// The status for a path; 0 for all others.
    std::map<std::string, OSStatus> referenceStatus;
    std::map<std::string, OSStatus> launchStatus;
    /// Every standard folder; empty: none is found.
    std::string standardFolder;
    /// Whether what is launched is found running afterwards.
    bool launchedApplicationsRun = false;

    // ---- for the definitions of the calls
    size_t position = 0;
    std::vector<std::string> references;
};
