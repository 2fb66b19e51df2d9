#pragma once

#include "HWServicePnPClient.h"

#include <string>

/// The launcher itself: whenever the configured modem, or the CD-ROM that it first presents itself as, is
/// present at start or arrives, it starts the main application and, hidden, the notifier, each unless it runs
/// already. No launch is remembered: every trigger looks at the running processes afresh.
///
/// Construct, init(), run(). Everything happens on the main thread. The object must outlive the
/// notifications: nothing takes it off the plug-and-play service's list.
class ZevoLauncher : public HWServicePnPClient {
public:
    ZevoLauncher();
    ~ZevoLauncher() override;

    ZevoLauncher(const ZevoLauncher&) = delete;
    ZevoLauncher& operator=(const ZevoLauncher&) = delete;

    void onResumeStandbyMode() override;
    void onDeviceArrival(std::string& hardwareId) override;
    void onDeviceRemoval(std::string& hardwareId) override;

    void init();

    /// Reads the configuration, registers for notifications, looks for a modem that is already there, and
    /// runs the run loop until that ends. An unreadable configuration is traced and nothing matches from then
    /// on. A configured id to find that is too short to hold ids throws std::out_of_range.
    void run();

    /// Whether the modem to find is connected now.
    bool isDeviceFound();
    /// Starts whichever of the two applications is not running. Failures are traced; nothing is retried.
    void processDevice();
    /// Whether a running process has exactly this bundle path (an ASCII text).
    bool isProcessRunning(std::string bundlePath);

private:
    std::string m_modemHIdToDetect;
    std::string m_cdRomHIdToDetect;
    std::string m_modemHIdToFind;
};
