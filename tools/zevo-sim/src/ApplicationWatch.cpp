#include "ApplicationWatch.h"

#include "Bundles.h"
#include "LauncherApplication.h"
#include "RunningApplications.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace Zevo {

std::string applicationCalled(const std::string& word) {
    if (word == "application")
        return LAUNCHER_APPLICATIONS[0].path;
    if (word == "notifier")
        return LAUNCHER_APPLICATIONS[1].path;
    return {};
}

ApplicationWatch::ApplicationWatch() {
    look();
    m_starts.clear();
}

void ApplicationWatch::look() {
    std::vector<LinuxPlatform::RunningApplication> running;
    const int reason = LinuxPlatform::listRunningApplications(running);
    if (reason != 0)
        throw std::runtime_error(std::string("it cannot be told what runs: ") + std::strerror(reason));
    m_running.clear();
    for (const LinuxPlatform::RunningApplication& application : running) {
        const Start seen = {LinuxPlatform::outOfRoot(application.bundle), application.pid};
        m_running.push_back(seen);
        if (m_known.emplace(application.pid, application.startTime).second)
            m_starts.push_back(seen);
    }
}

std::optional<ApplicationWatch::Start> ApplicationWatch::take(const std::string& bundle) {
    const auto found = std::find_if(m_starts.begin(), m_starts.end(),
                                    [&bundle](const Start& start) { return start.bundle == bundle; });
    if (found == m_starts.end())
        return std::nullopt;
    const Start start = *found;
    m_starts.erase(found);
    return start;
}

std::optional<ApplicationWatch::Start> ApplicationWatch::takeAny() {
    if (m_starts.empty())
        return std::nullopt;
    return take(m_starts.front().bundle);
}

pid_t ApplicationWatch::processOf(const std::string& bundle) const {
    const auto found = std::find_if(m_running.begin(), m_running.end(),
                                    [&bundle](const Start& start) { return start.bundle == bundle; });
    return found == m_running.end() ? 0 : found->process;
}

} // namespace Zevo
