#include "DeviceChoice.h"

#include "Tool.h"

#include <fmt/format.h>

#include <algorithm>
#include <regex>

namespace Zevo {
namespace {

constexpr std::size_t SHOWN_MODEMS = 15;

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

std::string listOf(const std::vector<KnownModem>& modems) {
    std::string text;
    for (std::size_t i = 0; i < std::min(SHOWN_MODEMS, modems.size()); ++i)
        text += fmt::format("\n  {}  {}", shownIds(modems[i].cdRom), modems[i].names);
    if (modems.size() > SHOWN_MODEMS)
        text += fmt::format("\n  and {} more", modems.size() - SHOWN_MODEMS);
    return text;
}

Modem chooseByName(const std::string& text, const std::vector<KnownModem>& database) {
    if (text.find(':') != std::string::npos)
        throw UsageError(fmt::format(
            "\"{}\" are no ids: four hexadecimal digits, a colon, and four again, as in 12d1:1446", text));
    if (database.empty())
        throw UsageError(
            fmt::format("\"{}\" is no device: a modem is known by its name only where usb-modeswitch-data is "
                        "installed; give its ids, as in 12d1:1446, or its file",
                        text));
    std::string words = text;
    std::replace_if(
        words.begin(), words.end(), [](char c) { return c == '-' || c == '_'; }, ' ');
    const std::vector<KnownModem> found = modemsNamed(words, database);
    if (found.empty())
        throw UsageError(
            fmt::format("no modem is known as \"{}\"; give its ids, as in 12d1:1446, or its file", text));
    if (found.size() > 1)
        throw UsageError(fmt::format("\"{}\" may be several modems; give the ids of one, as in {}:{}", text,
                                     shownIds(found.front().cdRom), listOf(found)));
    return modemOf(found.front());
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
        return isFile(text) ? readModemFile(text) : chooseByName(text, database);
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
    for (const UsbDevice* const device : {&modem.cdRom, &modem.modem}) {
        if (device->isKnown())
            ids.push_back(shortIdentifier(*device));
    }
    return ids;
}

} // namespace Zevo
