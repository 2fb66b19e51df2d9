#pragma once

#include "ThrowAwayFolder.h"

#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace Zevo {

/// What one started application reported about itself; sample-application.c lists the names.
class StartReport {
public:
    explicit StartReport(const std::string& text) : m_text(text) {}

    pid_t pid() const;
    /// The first value with this name, empty if there is none.
    std::string value(const std::string& name) const;
    std::vector<std::string> values(const std::string& name) const;
    const std::string& text() const { return m_text; }

private:
    std::string m_text;
};

/// The launcher's surroundings in a throw-away folder:
///
///     root/Applications/Quillmarsh.app    the main application; in it Murmel.app, the notifier
///     installation/                       the real launcher and its four files
///     data/                               where its trace and its log go
///
/// Ends every process of the folder before it removes the folder.
class SampleMachine {
public:
    enum class Bundle { mainApplication, notifier };

    /// With the product's default files installed. Throws std::runtime_error if it cannot be created.
    SampleMachine();
    ~SampleMachine();
    SampleMachine(const SampleMachine&) = delete;
    SampleMachine& operator=(const SampleMachine&) = delete;

    const std::string& folder() const { return m_folder.path(); }
    std::string installationFolder() const { return folder() + "/installation"; }
    std::string launcherProgram() const { return installationFolder() + "/ZevoLauncher"; }
    std::string errorFile() const { return folder() + "/standard-error.txt"; }
    std::string outputFile() const { return folder() + "/standard-output.txt"; }
    std::string dataFolder() const { return folder() + "/data"; }

    /// Where the launcher's trace and log are, for the upgrade code of the installed card.
    std::string logFolder() const;

    /// The launcher's environment on this machine.
    std::vector<std::string> environment() const;

    void install(const std::string& name, const std::string& text) const;
    void uninstall(const std::string& name) const;
    std::string installedText(const std::string& name) const;
    /// Installs a Launcher.cfg with these keys and identifiers.
    void installLauncherConfiguration(const std::map<std::string, std::string>& identifiers) const;

    /// The bundle's path as the launcher uses it, and its real one.
    static std::string pathOf(Bundle bundle);
    std::string placeOf(Bundle bundle) const { return folder() + "/root" + pathOf(bundle); }
    std::string executableOf(Bundle bundle) const;
    void createBundle(Bundle bundle) const;
    void removeBundle(Bundle bundle) const;

    /// All starts of the bundle's program since the machine was created, ended ones included, in no order.
    std::vector<StartReport> startsOf(Bundle bundle) const;

    /// Processes that run a program of this machine, including the launcher.
    std::vector<pid_t> processes() const;
    std::vector<pid_t> processesOf(Bundle bundle) const;

    /// Asks the applications to quit and waits until they have; false if one does not.
    bool quit(Bundle bundle) const;
    bool quitApplications() const { return quit(Bundle::notifier) && quit(Bundle::mainApplication); }

private:
    ThrowAwayFolder m_folder;
};

std::string readTextFile(const std::string& path);
void writeTextFile(const std::string& path, const std::string& text);
void createFolders(const std::string& path);

} // namespace Zevo
