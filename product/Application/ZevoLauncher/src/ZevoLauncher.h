#pragma once

#include "HWServicePnPClient.h"

#include <string>

/// The launcher itself. When the configured modem, or the CD-ROM that it first presents itself as, is present
/// at start or arrives, it starts the main application and, hidden, the notifier, each unless it is running
/// already. It remembers no launches: every trigger checks the running processes anew.
///
/// Construct, init(), run(). Everything happens on the main thread. The object must outlive the
/// notifications, because it cannot be unregistered from the plug-and-play service.
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

    /// Reads the configuration, registers for notifications, looks for a modem that is already connected, and
    /// runs the run loop until that ends. If the configuration cannot be read, that is traced and nothing
    /// matches. Throws std::out_of_range if the configured id of the modem to find is too short to contain
    /// ids.
    void run();

    /// Whether the modem to find is connected at the moment.
    bool isDeviceFound();
    /// Starts those of the two applications that are not running. Failures are traced; nothing is retried.
    void processDevice();
    /// Whether a running process has exactly this bundle path (ASCII).
    bool isProcessRunning(std::string bundlePath);

private:
    std::string m_modemHIdToDetect;
    std::string m_cdRomHIdToDetect;
    std::string m_modemHIdToFind;
};
