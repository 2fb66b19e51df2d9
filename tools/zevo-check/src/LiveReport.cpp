#include "LiveReport.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace Zevo {
namespace {

std::string timeText(std::time_t time) {
    std::tm local = {};
    char text[32] = "";
    if (time == 0 || localtime_r(&time, &local) == nullptr)
        return "a time that is not known";
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

// A device chooses its own name; it must not send control characters to the terminal.
std::string harmless(std::string name) {
    std::replace_if(
        name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; },
        '?');
    return name;
}

std::vector<std::string> rolesOf(const LiveDevice& device) {
    std::vector<std::string> roles;
    if (device.isModem)
        roles.emplace_back("the modem: its arrival starts the applications");
    if (device.isCdRom)
        roles.emplace_back("the modem as a CD-ROM drive: its arrival starts the applications");
    if (device.isModemToFind)
        roles.emplace_back("the modem that is looked for at the start");
    return roles;
}

std::string deviceText(const LiveDevice& device, const Colours& colours) {
    std::string text =
        fmt::format("  {:04x}:{:04x} {}\n", device.vendor, device.product, harmless(device.name));
    for (const std::string& role : rolesOf(device))
        text += "    " + colours.good(role) + "\n";
    return text;
}

std::string applicationText(const LiveApplication& application, const Colours& colours) {
    std::string state = application.canBeStarted ? "can be started, does not run" : "cannot be started";
    if (!application.processes.empty())
        state = fmt::format("runs: process {}", fmt::join(application.processes, ", "));
    const bool isFine = application.canBeStarted || !application.processes.empty();
    return fmt::format("  {}\n    {}\n", application.path,
                       isFine ? colours.good(state) : colours.error(state));
}

std::string ringText(const char* what, const LiveRing& ring) {
    if (ring.baseName.empty())
        return fmt::format("  {}: to no file\n", what);
    if (ring.files == 0)
        return fmt::format("  {}: {}_<n>.txt, none yet\n", what, ring.baseName);
    return fmt::format("  {}: {}_<n>.txt, {} {}, {} bytes, last written {}\n", what, ring.baseName,
                       ring.files, ring.files == 1 ? "file" : "files", ring.bytes,
                       timeText(ring.lastWritten));
}

std::string launcherText(const LiveLauncher& launcher) {
    return fmt::format("  process {}{}, since {}\n    {}\n", launcher.process,
                       launcher.isWaiting ? ", waiting for the end of the one above" : "",
                       timeText(launcher.since),
                       launcher.program.empty() ? "a program that this user may not see" : launcher.program);
}

nlohmann::ordered_json asJson(const LiveRing& ring) {
    return {{"baseName", ring.baseName},
            {"files", ring.files},
            {"bytes", ring.bytes},
            {"lastWritten", ring.lastWritten}};
}

} // namespace

std::string asText(const Live& live, const Colours& colours) {
    std::string text = colours.strong("Devices connected now") + "\n";
    bool isAnyMatched = false;
    for (const LiveDevice& device : live.devices) {
        text += deviceText(device, colours);
        isAnyMatched = isAnyMatched || !rolesOf(device).empty();
    }
    if (live.devices.empty())
        text += "  none\n";
    if (!isAnyMatched)
        text += "  " + colours.warning("none of them is the configured modem") + "\n";
    text += colours.strong("Hot-plug") + "\n  " +
            (live.hearsOfHotPlug ? colours.good("devices that arrive and leave are noticed")
                                 : colours.error("devices that arrive and leave are not noticed")) +
            "\n";
    text += colours.strong("Applications") + "\n";
    for (const LiveApplication& application : live.applications)
        text += applicationText(application, colours);
    text += colours.strong("Files") + "\n" + ringText("trace", live.trace) + ringText("log", live.log);
    text += colours.strong("Launchers") + "\n";
    for (const LiveLauncher& launcher : live.launchers)
        text += launcherText(launcher);
    if (live.launchers.empty())
        text += "  none runs\n";
    return text;
}

nlohmann::ordered_json asJson(const Live& live) {
    nlohmann::ordered_json json = {{"devices", nlohmann::ordered_json::array()},
                                   {"hotPlug", live.hearsOfHotPlug},
                                   {"applications", nlohmann::ordered_json::array()},
                                   {"trace", asJson(live.trace)},
                                   {"log", asJson(live.log)},
                                   {"launchers", nlohmann::ordered_json::array()}};
    for (const LiveDevice& device : live.devices)
        json["devices"].push_back({{"vendor", device.vendor},
                                   {"product", device.product},
                                   {"name", device.name},
                                   {"hardwareId", device.hardwareId},
                                   {"isModem", device.isModem},
                                   {"isCdRom", device.isCdRom},
                                   {"isModemToFind", device.isModemToFind}});
    for (const LiveApplication& application : live.applications)
        json["applications"].push_back({{"path", application.path},
                                        {"canBeStarted", application.canBeStarted},
                                        {"processes", application.processes}});
    for (const LiveLauncher& launcher : live.launchers)
        json["launchers"].push_back({{"process", launcher.process},
                                     {"since", launcher.since},
                                     {"program", launcher.program},
                                     {"isWaiting", launcher.isWaiting}});
    return json;
}

} // namespace Zevo
