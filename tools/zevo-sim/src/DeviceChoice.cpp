#include "DeviceChoice.h"

#include "ModemChoice.h"
#include "Tool.h"

#include <algorithm>
#include <regex>

namespace Zevo {
namespace {

const ModemQuestion QUESTION = {"its ids, as in 12d1:1446, or its file", "",
                                [](const KnownModem& modem) { return modem.cdRom; }};

UsbIds idsIn(const std::string& text) {
    return {std::stoi(text.substr(0, 4), nullptr, 16), std::stoi(text.substr(5), nullptr, 16)};
}

unsigned number(int id) {
    return static_cast<unsigned>(id);
}

bool isFile(const std::string& text) {
    static const std::string ENDING = ".modem";
    return text.find('/') != std::string::npos ||
           (text.size() > ENDING.size() &&
            text.compare(text.size() - ENDING.size(), ENDING.size(), ENDING) == 0);
}

Modem chooseByIds(const UsbIds& ids, const std::vector<KnownModem>& database) {
    Modem modem;
    for (const KnownModem& known : database) {
        if (known.cdRom == ids)
            return modemOf(known);
        if (std::find(known.modems.begin(), known.modems.end(), ids) != known.modems.end()) {
            modem.name = known.names;
            modem.modem = makeModem(number(ids.vendor), number(ids.product));
        }
    }
    if (!modem.modem.isKnown())
        modem.modem = makePlainDevice(number(ids.vendor), number(ids.product));
    return modem;
}

} // namespace

bool areIds(const std::string& text) {
    static const std::regex form("[0-9a-fA-F]{4}:[0-9a-fA-F]{4}");
    return std::regex_match(text, form);
}

Modem modemOf(const KnownModem& known) {
    const UsbIds& next = known.modems.front();
    Modem modem;
    modem.name = known.names;
    modem.cdRom = makeCdRom(number(known.cdRom.vendor), number(known.cdRom.product));
    modem.modem = makeModem(number(next.vendor), number(next.product));
    return modem;
}

Modem chooseDevice(const std::string& text, const std::vector<KnownModem>& database) {
    if (!areIds(text))
        return isFile(text) ? readModemFile(text) : modemOf(chooseByName(text, database, QUESTION));
    const UsbIds ids = idsIn(text);
    if (ids.vendor == 0)
        throw UsageError(text + " is no device: no vendor has the number 0000");
    return chooseByIds(ids, database);
}

UsbDevice choosePersonality(const std::string& text, const std::vector<KnownModem>& database) {
    const Modem modem = chooseDevice(text, database);
    const bool isItself =
        !areIds(text) || (modem.modem.isKnown() && idsIn(text) == idsIn(shortIdentifier(modem.modem)));
    return isItself && modem.modem.isKnown() ? modem.modem : modem.first();
}

std::vector<std::string> idsOf(const Modem& modem) {
    std::vector<std::string> ids;
    for (const UsbDevice* const device : {&modem.cdRom, &modem.modem})
        if (device->isKnown())
            ids.push_back(shortIdentifier(*device));
    return ids;
}

} // namespace Zevo
