#include "LauncherConfiguration.h"

#include "SampleMachine.h"

#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace Zevo {
namespace {

unsigned hexadecimalBehind(const std::string& text, const char* marker, std::string::size_type from) {
    const std::string::size_type at = text.find(marker, from);
    return at == std::string::npos
               ? 0
               : static_cast<unsigned>(std::strtoul(text.substr(at + 4, 4).c_str(), nullptr, 16));
}

/** The identifier of this key in Launcher.cfg. */
UsbDevice deviceOf(const std::string& configuration, const std::string& key) {
    const std::string::size_type at = configuration.find("<key>" + key + "</key>");
    UsbDevice result;
    if (at != std::string::npos) {
        result.vendor = hexadecimalBehind(configuration, "Vid_", at);
        result.product = hexadecimalBehind(configuration, "Pid_", at);
    }
    if (result.vendor == 0)
        throw std::runtime_error("Launcher.cfg names no device under " + key);
    return result;
}

/** The file name that a trace or log configuration sets with this statement. */
std::string fileNameIn(const SampleMachine& machine, const std::string& file, const std::string& statement) {
    std::istringstream lines(machine.installedText(file));
    for (std::string line; std::getline(lines, line);) {
        std::string word, name;
        std::istringstream(line) >> word >> name;
        if (word == statement && !name.empty())
            return machine.logFolder() + "/" + name + "_0.txt";
    }
    throw std::runtime_error(file + " has no " + statement);
}

} // namespace

LauncherConfiguration::LauncherConfiguration(const SampleMachine& machine)
    : traceFile(fileNameIn(machine, "tracer_zevolauncher.cfg", "TRACE_SET_FILE_NAME")),
      logFile(fileNameIn(machine, "logger_launcher.cfg", "LOG_SET_FILE_NAME")) {
    const std::string configuration = machine.installedText("Launcher.cfg");
    cdRom = deviceOf(configuration, "MacCdRomHIdToDetect");
    cdRom = makeCdRom(cdRom.vendor, cdRom.product);
    modem = deviceOf(configuration, "MacHardwareIdToDetect");
    modem = makeModem(modem.vendor, modem.product);
}

} // namespace Zevo
