#include "NewFolder.h"

#include "FileWriting.h"
#include "LauncherConfigurationCheck.h"
#include "ModemChoice.h"
#include "Resources.h"
#include "Tool.h"

#include "Dictionary.h"
#include "ZevoLauncherConfigReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace Zevo {
namespace {

UsbIds idsIn(const std::string& hardwareId) {
    return {std::stoi(hardwareId.substr(8, 4), nullptr, 16),
            std::stoi(hardwareId.substr(17, 4), nullptr, 16)};
}

ChosenModem chosen(const KnownModem& known, const UsbIds& modem) {
    return {modem, known.cdRom, known.names, {}, true};
}

ChosenModem chooseByIds(const UsbIds& ids, const std::vector<KnownModem>& database) {
    std::vector<KnownModem> sources;
    std::copy_if(database.begin(), database.end(), std::back_inserter(sources),
                 [&ids](const KnownModem& known) {
                     return std::find(known.modems.begin(), known.modems.end(), ids) != known.modems.end();
                 });
    // A modem with other ids before it is switched is more informative than one that keeps its own.
    std::stable_partition(sources.begin(), sources.end(),
                          [&ids](const KnownModem& known) { return !(known.cdRom == ids); });
    if (!sources.empty()) {
        ChosenModem modem = chosen(sources.front(), ids);
        for (std::size_t i = 1; i < sources.size(); ++i)
            modem.otherCdRoms.push_back(sources[i].cdRom);
        return modem;
    }
    // Or the ids that it is plugged in with, and switched from.
    for (const KnownModem& known : database)
        if (known.cdRom == ids)
            return chosen(known, known.modems.front());
    return {ids, ids, "", {}, false};
}

ChosenModem chooseConnected(const std::vector<KnownModem>& database, const std::vector<UsbIds>& connected) {
    std::vector<ChosenModem> modems;
    for (const UsbIds& ids : connected) {
        const ChosenModem modem = chooseByIds(ids, database);
        if (modem.isKnown)
            modems.push_back(modem);
    }
    if (modems.empty())
        throw UsageError(
            database.empty()
                ? "--modem is needed: without usb-modeswitch-data it is not known what a modem is"
                : "--modem is needed: no modem that usb-modeswitch-data knows is plugged in");
    if (modems.size() > 1) {
        std::string text = "--modem is needed: several modems are plugged in:";
        for (const ChosenModem& modem : modems)
            text += fmt::format("\n  {}  {}", shownIds(modem.modem), modem.names);
        throw UsageError(text);
    }
    return modems.front();
}

std::string launcherConfiguration(const ChosenModem& modem) {
    Dictionary dictionary;
    dictionary.addValue(ZevoLauncherConfigReader::ms_FileKeyHardwareIdToDetect, hardwareIdOf(modem.modem));
    dictionary.addValue(ZevoLauncherConfigReader::ms_FileKeyHardwareIdToFind, hardwareIdOf(modem.modem));
    dictionary.addValue(ZevoLauncherConfigReader::ms_FileKeyCdRomHidToDetect, hardwareIdOf(modem.cdRom));
    std::string others;
    for (const UsbIds& ids : modem.otherCdRoms)
        others += (others.empty() ? "" : ", ") + shownIds(ids);
    if (!others.empty())
        others =
            "Other modems that become " + shownIds(modem.modem) + " are plugged in as " + others + ".\n\n";
    const std::string modemText =
        modem.names.empty() ? "a modem that usb-modeswitch-data does not know" : modem.names;
    return fmt::format(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n{}</plist>\n"
        "<!--\n"
        "Made for {}.\n\n"
        "  MacCdRomHIdToDetect    {}: the modem when it is plugged in{}\n"
        "  MacHardwareIdToDetect  {}: the modem at work; its arrival starts the applications, too\n"
        "  MacHardwareIdToFind    the same, when it is there already as the launcher starts\n\n{}"
        "The file is read line by line: one key or one string to a line. Any other line ends the reading, so "
        "comments\n"
        "stand down here. A change takes effect with the next start of the launcher; check it with "
        "zevo-check.\n"
        "-->\n",
        dictionary.marshall(""), modemText, shownIds(modem.cdRom),
        modem.isKnown ? ", often as a CD-ROM drive"
                      : "; look at it with lsusb before it is switched, and put that here",
        shownIds(modem.modem), others);
}

} // namespace

ChosenModem chooseModem(const std::string& text, const std::vector<KnownModem>& database,
                        const std::vector<UsbIds>& connected) {
    if (text.empty())
        return chooseConnected(database, connected);
    const std::string hardwareId = hardwareIdMeantBy(text);
    if (!hardwareId.empty())
        return chooseByIds(idsIn(hardwareId), database);
    const KnownModem known = chooseByName(text, database,
                                          {"its ids, as in --modem 12d1:1001", "--modem ",
                                           [](const KnownModem& modem) { return modem.modems.front(); }});
    return chosen(known, known.modems.front());
}

void writeNewFolder(const std::string& folder, const ChosenModem& modem) {
    const std::vector<std::pair<std::string, std::string>> files = {
        {"ID.txt", SHIPPED_CARD},
        {"Launcher.cfg", launcherConfiguration(modem)},
        {"tracer_zevolauncher.cfg", SHIPPED_TRACE_CONFIGURATION},
        {"logger_launcher.cfg", SHIPPED_LOG_CONFIGURATION},
    };
    for (const auto& [name, text] : files)
        if (std::filesystem::exists(std::filesystem::symlink_status(folder + name)))
            throw UsageError(folder + name + " is there already; give another folder");
    std::error_code problem;
    std::filesystem::create_directories(folder, problem);
    if (problem)
        throw std::runtime_error(fmt::format("{} cannot be made: {}", folder, problem.message()));
    for (const auto& [name, text] : files)
        writeFile(folder + name, text);
}

} // namespace Zevo
