#include "Bus.h"

#include <nlohmann/json.hpp>

namespace Zevo {
namespace {

Bus::Json asJson(const Which& which) {
    return {{"port", which.port}, {"ids", which.ids}};
}

} // namespace

std::string Bus::plug(const Modem& modem, const std::string& port,
                      std::optional<std::chrono::milliseconds> switchesAfter) {
    Json request = {{"do", "plug"}, {"modem", modemFileText(modem)}, {"port", port}};
    if (switchesAfter)
        request["after"] = switchesAfter->count();
    return ask(request).at("port").get<std::string>();
}

std::string Bus::switchTo(const std::optional<UsbDevice>& next, const Which& which) {
    Json request = {{"do", "switch"}, {"which", asJson(which)}};
    if (next) {
        Modem modem;
        modem.modem = *next;
        request["modem"] = modemFileText(modem);
    }
    return ask(request).at("port").get<std::string>();
}

std::string Bus::unplug(const Which& which) {
    return ask({{"do", "unplug"}, {"which", asJson(which)}}).at("port").get<std::string>();
}

void Bus::unplugAll() {
    ask({{"do", "unplug all"}});
}

Bus::Json Bus::list() {
    return ask({{"do", "list"}});
}

void Bus::startProgram() {
    ask({{"do", "start"}});
}

void Bus::stopProgram() {
    ask({{"do", "stop"}});
}

} // namespace Zevo
