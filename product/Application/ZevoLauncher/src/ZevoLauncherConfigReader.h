#pragma once

#include <string>

/// The launcher's own configuration: "Launcher.cfg" beside the executable, a property list with the hardware
/// to react to. Each identifier has the form "USB#Vid_%04x&Pid_%04x"; the form is not checked. A missing key
/// gives an empty text.
///
/// The first getter that can read the file does so; it is never read again. Main thread only.
class ZevoLauncherConfigReader {
public:
    static const std::string ms_configurationFile; // its name
    // Its keys.
    static const std::string ms_FileKeyHardwareIdToDetect;
    static const std::string ms_FileKeyHardwareIdToFind;
    static const std::string ms_FileKeyCdRomHidToDetect;

    /// The instance, created by the first call and never deleted.
    static ZevoLauncherConfigReader* getInstance();
    ~ZevoLauncherConfigReader();

    ZevoLauncherConfigReader(const ZevoLauncherConfigReader&) = delete;
    ZevoLauncherConfigReader& operator=(const ZevoLauncherConfigReader&) = delete;

    /// Each loads the configuration if that has not succeeded yet, and throws what loadConfiguration()
    /// throws.
    std::string getModemHIdToDetect();
    std::string getModemHIdToFind();
    std::string getCdRomHIdToDetect();

    /// Does nothing once loaded. Throws KFConfigurationReaderFileNotFoundException if the file cannot be read
    /// or is not a property list; the next call tries again.
    void loadConfiguration();

private:
    ZevoLauncherConfigReader();

    static ZevoLauncherConfigReader* ms_theUniqueInstance;

    std::string m_modemHIdToDetect;
    std::string m_modemHIdToFind;
    std::string m_cdRomHIdToDetect;
    bool m_loaded;
};
