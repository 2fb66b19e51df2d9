#include "DemoSetup.h"

#include "DeviceChoice.h"
#include "Report.h"
#include "SampleMachine.h"
#include "Tool.h"

#include <filesystem>
#include <iostream>
#include <stdexcept>

namespace Zevo {
namespace {

const char TRACE_CONFIGURATION[] = "tracer_zevolauncher.cfg";

/// "12d1:1001" for an identifier in any form that people write; empty if it contains none.
std::string shortFormOf(const std::string& hardwareId) {
    const std::string form = hardwareIdMeantBy(hardwareId);
    return form.empty() ? form : form.substr(8, 4) + ":" + form.substr(17, 4);
}

CheckResult checked(const std::string& folder, CheckOptions& options) {
    options.folder = folder;
    options.withApplications = false;
    return checkInstallation(options);
}

/// A missing file is missing on the machine, too, except the trace configuration: the demo reads the trace.
void installFrom(const std::string& given, const SampleMachine& machine) {
    const std::string folder = given.back() == '/' ? given : given + "/";
    if (!std::filesystem::is_directory(folder))
        throw UsageError("there is no folder " + given);
    CheckOptions options;
    const CheckResult result = checked(folder, options);
    std::cout << asText(result, options, Colours(takesColours(stdout))) << std::flush;
    for (const char* const name : {"ID.txt", "Launcher.cfg", "logger_launcher.cfg"})
        if (std::filesystem::is_regular_file(folder + name))
            machine.install(name, readTextFile(folder + name));
        else
            machine.uninstall(name);
}

void installFor(const Modem& modem, const SampleMachine& machine) {
    const UsbDevice& atWork = modem.modem.isKnown() ? modem.modem : modem.first();
    machine.installLauncherConfiguration({{"MacHardwareIdToDetect", hardwareIdentifier(atWork)},
                                          {"MacHardwareIdToFind", hardwareIdentifier(atWork)},
                                          {"MacCdRomHIdToDetect", hardwareIdentifier(modem.first())}});
}

unsigned hexadecimal(const std::string& digits) {
    return static_cast<unsigned>(std::stoul(digits, nullptr, 16));
}

Modem modemFrom(const std::string& cdRom, const std::string& modem) {
    if (cdRom.empty() || modem.empty())
        throw std::runtime_error(
            "Launcher.cfg does not name the modem and its CD-ROM; name one with --modem");
    Modem result;
    result.cdRom = makeCdRom(hexadecimal(cdRom.substr(0, 4)), hexadecimal(cdRom.substr(5)));
    result.modem = makeModem(hexadecimal(modem.substr(0, 4)), hexadecimal(modem.substr(5)));
    return result;
}

} // namespace

DemoSetup::DemoSetup(const SampleMachine& machine, const DemoWishes& wishes) {
    if (!wishes.modem.empty())
        modem = chooseDevice(wishes.modem, readModemDatabase(MODEM_DATABASE));
    if (!wishes.configuration.empty())
        installFrom(wishes.configuration, machine);
    else if (!wishes.modem.empty())
        installFor(modem, machine);
    // Direct writing, so that events are reported when they happen.
    machine.install(TRACE_CONFIGURATION, machine.installedText(TRACE_CONFIGURATION) + "\nTRACE_MUST_FLUSH\n");
    CheckOptions options;
    const CheckResult result = checked(machine.installationFolder() + "/", options);
    awaitedModem = shortFormOf(result.ids.modem);
    awaitedCdRom = shortFormOf(result.ids.cdRom);
    traceFile = result.trace.baseName + "_0.txt";
    logFile =
        result.log.isOn && !result.log.baseName.empty() ? result.log.baseName + "_0.txt" : std::string();
    if (wishes.modem.empty())
        modem = modemFrom(awaitedCdRom, awaitedModem);
}

bool DemoSetup::isAwaited(const UsbDevice& device) const {
    const std::string ids = shortIdentifier(device);
    return ids == awaitedModem || ids == awaitedCdRom;
}

} // namespace Zevo
