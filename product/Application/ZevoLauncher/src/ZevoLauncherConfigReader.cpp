#include "ZevoLauncherConfigReader.h"

#include "CallMarker.h"
#include "Dictionary.h"
#include "FileSystemManagement.h"
#include "KFConfigurationReaderFileNotFoundException.h"
#include "KFDictionaryException.h"
#include "MessageType.h"

static const char KF_SOURCE[] = "product/Application/ZevoLauncher/src/ZevoLauncherConfigReader";

ZevoLauncherConfigReader* ZevoLauncherConfigReader::ms_theUniqueInstance = nullptr;
const std::string ZevoLauncherConfigReader::ms_configurationFile = "Launcher.cfg";
const std::string ZevoLauncherConfigReader::ms_FileKeyHardwareIdToDetect = "MacHardwareIdToDetect";
const std::string ZevoLauncherConfigReader::ms_FileKeyHardwareIdToFind = "MacHardwareIdToFind";
/// Spelled exactly so, with a capital H and a capital I: installed configuration files use this key.
const std::string ZevoLauncherConfigReader::ms_FileKeyCdRomHidToDetect = "MacCdRomHIdToDetect";

namespace {

/// Stores the value of a key. If the key is missing, or its value is not a text, `value` stays as it is.
void takeValue(const Dictionary& dictionary, const std::string& key, std::string& value) {
    if (const char* text = dictionary.getValue(key))
        value = text;
}

} // namespace

ZevoLauncherConfigReader* ZevoLauncherConfigReader::getInstance() {
    TRACE_FUNCTION("ZevoLauncherConfigReader::getInstance");
    if (ms_theUniqueInstance == nullptr)
        ms_theUniqueInstance = new ZevoLauncherConfigReader;
    return ms_theUniqueInstance;
}

ZevoLauncherConfigReader::ZevoLauncherConfigReader() : m_loaded(false) {
    TRACE_CONSTRUCTOR("ZevoLauncherConfigReader");
}

ZevoLauncherConfigReader::~ZevoLauncherConfigReader() {
    TRACE_DESTRUCTOR("ZevoLauncherConfigReader");
}

std::string ZevoLauncherConfigReader::getModemHIdToDetect() {
    TRACE_METHOD();
    if (!m_loaded)
        loadConfiguration();
    return m_modemHIdToDetect;
}

std::string ZevoLauncherConfigReader::getModemHIdToFind() {
    TRACE_METHOD();
    if (!m_loaded)
        loadConfiguration();
    return m_modemHIdToFind;
}

std::string ZevoLauncherConfigReader::getCdRomHIdToDetect() {
    TRACE_METHOD();
    if (!m_loaded)
        loadConfiguration();
    return m_cdRomHIdToDetect;
}

void ZevoLauncherConfigReader::loadConfiguration() {
    TRACE_METHOD();
    if (m_loaded)
        return;
    const std::string path = FileSystemManagement::getCurrentExecutableDirectory() + ms_configurationFile;
    try {
        Dictionary dictionary;
        dictionary.loadFromFile(path);
        takeValue(dictionary, ms_FileKeyHardwareIdToDetect, m_modemHIdToDetect);
        takeValue(dictionary, ms_FileKeyHardwareIdToFind, m_modemHIdToFind);
        takeValue(dictionary, ms_FileKeyCdRomHidToDetect, m_cdRomHIdToDetect);
    } catch (const KFDictionaryException& e) {
        TRACE_MESSAGE(MSG_ERROR, "Could not load operator file : %s.", path.c_str());
        TRACE_MESSAGE(MSG_ERROR, "%s.", e.toString().c_str());
        throw KFConfigurationReaderFileNotFoundException(KF_SOURCE, 133);
    }
    m_loaded = true;
}
