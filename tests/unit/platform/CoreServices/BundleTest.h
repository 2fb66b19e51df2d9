#pragma once

#include "TemporaryFolder.h"
#include "WaitUntil.h"

#include <ApplicationServices/ApplicationServices.h>
#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

/// Waits until `condition` holds; false after a minute, which is longer than any machine needs.
inline bool comesTrue(const std::function<bool()>& condition) {
    return waitUntil(condition, std::chrono::seconds(60));
}

/// Sets an environment variable, or removes it (null), for the life of the object.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value) : m_name(name) {
        const char* before = getenv(name);
        m_wasSet = before != nullptr;
        m_before = m_wasSet ? before : "";
        set(value);
    }
    ~ScopedVariable() { set(m_wasSet ? m_before.c_str() : nullptr); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    void set(const char* value) const {
        if (value != nullptr)
            setenv(m_name, value, 1);
        else
            unsetenv(m_name);
    }

    const char* m_name;
    std::string m_before;
    bool m_wasSet;
};

inline OSStatus makeReference(const std::string& path, FSRef& reference) {
    return FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &reference, nullptr);
}

inline std::string pathOf(const FSRef& reference) {
    UInt8 path[4096] = "(no path)";
    FSRefMakePath(&reference, path, sizeof path);
    return reinterpret_cast<const char*>(path);
}

/// A temporary root (PLATFORM_ROOT) for sample bundles. Processes that are started in it end with the test.
class BundleTest : public ::testing::Test {
protected:
    using Report = std::map<std::string, std::string>;

    BundleTest();
    ~BundleTest() override;

    const std::string& root() const { return m_root; }
    std::string inRoot(const std::string& path) const { return m_root + path; }
    const std::string& reports() const { return m_reports; }

    static void makeFolders(const std::string& path);
    static void writeFile(const std::string& path, const std::string& content, mode_t mode = 0644);
    static void copyExecutable(const std::string& to, const std::string& from = SAMPLE_APPLICATION);

    /// A bundle at `path` (below the root) whose executable is the sample application.
    void addBundle(const std::string& path, const std::string& executable, const std::string& infoPlist = "");
    /// As addBundle(), but the executable is a script that reports its pid and waits as the sample
    /// application does.
    void addScriptBundle(const std::string& path, const std::string& executable,
                         const std::string& firstLine);
    static std::string infoPlist(const std::string& executable);

    static OSStatus open(const std::string& bundle, LSLaunchFlags flags = kLSLaunchDefaults);
    /// Opens the bundle; returns the pid of the process found or started, 0 if that failed.
    static pid_t openedProcess(const std::string& bundle, LSLaunchFlags flags = kLSLaunchDefaults);
    /// Runs a file directly, as a user or a desktop would, whether it is a bundle's executable or not:
    /// `file`, or by default the file that the command's first word names.
    pid_t runDirectly(const std::vector<std::string>& command, const std::string& file = "");
    /// Waits until such a process ends; returns its exit status, -1 if it has none.
    int statusOf(pid_t pid);
    /// Ends a process and waits until it is no longer in the list of applications.
    void end(pid_t pid);
    /// As end(), without reading the list.
    void endWithoutALook(pid_t pid);

    /// Leaves this process only so many free descriptors. It is quick, because a list is cached for a moment
    /// only.
    static void leaveDescriptors(int count);

    /// The report of a sample application: "session", "mask", "file 3", "variable HOME", ...
    Report reportOf(pid_t pid);

    /// The pids, and the bundle paths, of a walk through the list of applications.
    static std::vector<pid_t> runningProcesses();
    static std::vector<std::string> runningBundles();
    static std::string bundleOf(pid_t pid);

private:
    TemporaryFolder m_folder;
    std::string m_root;
    std::string m_reports;
    int m_lifeline;
    std::vector<pid_t> m_children;
    ScopedVariable m_rootVariable;
    ScopedVariable m_reportsVariable;
};
