#pragma once

#include <optional>
#include <set>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace Zevo {

/// The path of the bundle that the word "application" or "notifier" names; empty for other words.
std::string applicationCalled(const std::string& word);

/// Detects starts of applications by polling; one that starts and ends between two polls is missed.
/// Applications that run when the watch begins count as already started. Paths are those that the launcher
/// uses, below PLATFORM_ROOT if that is set.
class ApplicationWatch {
public:
    struct Start {
        std::string bundle;
        pid_t process = 0;
    };

    ApplicationWatch();

    /// @throw std::runtime_error the system does not show what is running
    void look();

    /// Takes a start of this bundle that was not taken yet.
    std::optional<Start> take(const std::string& bundle);
    /// Takes any start that was not taken yet.
    std::optional<Start> takeAny();
    /// A process that ran the bundle at the last poll; 0: none.
    pid_t processOf(const std::string& bundle) const;

private:
    std::set<std::pair<pid_t, unsigned long>> m_known; // process and its start time
    std::vector<Start> m_running;
    std::vector<Start> m_starts; // not taken yet
};

} // namespace Zevo
