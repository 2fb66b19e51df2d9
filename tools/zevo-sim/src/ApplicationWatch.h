#pragma once

#include <optional>
#include <set>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace Zevo {

/// The path of a bundle that "application" or "notifier" names; empty for other words.
std::string applicationCalled(const std::string& word);

/// Sees applications start, as often as it looks; one that starts and ends between two looks is missed. What runs when
/// the watch begins has not started. Paths are those that the launcher knows, below PLATFORM_ROOT where that is set.
class ApplicationWatch {
public:
    struct Start {
        std::string bundle;
        pid_t process = 0;
    };

    ApplicationWatch();

    /// @throw std::runtime_error the system does not tell what runs
    void look();

    /// A start that was not taken yet.
    std::optional<Start> take(const std::string& bundle);
    /// Any start that was not taken yet.
    std::optional<Start> takeAny();
    /// A process that runs the bundle at the last look; 0: none.
    pid_t processOf(const std::string& bundle) const;

private:
    std::set<std::pair<pid_t, unsigned long>> m_known; // process and its start
    std::vector<Start> m_running;
    std::vector<Start> m_starts; // not taken
};

} // namespace Zevo
