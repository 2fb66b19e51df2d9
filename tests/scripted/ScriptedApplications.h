#pragma once

#include "detail/CFOwned.h"

#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

#include <map>
#include <string>
#include <vector>

/// The scripted answers of the Process Manager, the File Manager and Launch Services.
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
    /// Removes all processes.
    void quitAll() { steps.clear(); }

    /// The answers that each walk through the processes gets before its end.
    std::vector<Step> steps;
    /// The status of each call by path; 0 for all other paths.
    std::map<std::string, OSStatus> referenceStatus;
    std::map<std::string, OSStatus> launchStatus;
    /// The path of every standard folder; empty: none is found.
    std::string standardFolder;
    /// Whether a launched application is in the list of processes afterwards.
    bool launchedApplicationsRun = false;

    // ---- for the definitions of the calls
    size_t position = 0;
    std::vector<std::string> references;
};
