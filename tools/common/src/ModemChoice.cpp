#include "ModemChoice.h"

#include "Tool.h"

#include <fmt/format.h>

#include <algorithm>

namespace Zevo {
namespace {

constexpr std::size_t MOST_SHOWN = 15;

std::string listOf(const std::vector<KnownModem>& modems, const ModemQuestion& question) {
    std::string text;
    for (std::size_t i = 0; i < std::min(MOST_SHOWN, modems.size()); ++i)
        text += fmt::format("\n  {}  {}", shownIds(question.idsOf(modems[i])), modems[i].names);
    if (modems.size() > MOST_SHOWN)
        text += fmt::format("\n  and {} more", modems.size() - MOST_SHOWN);
    return text;
}

} // namespace

KnownModem chooseByName(const std::string& text, const std::vector<KnownModem>& database,
                        const ModemQuestion& question) {
    if (text.find(':') != std::string::npos)
        throw UsageError(fmt::format(
            "\"{}\" are no ids: four hexadecimal digits, a colon, and four again, as in 12d1:1446", text));
    if (database.empty())
        throw UsageError(fmt::format("\"{}\" is not understood: a modem is known by its name only where "
                                     "usb-modeswitch-data is installed; give {}",
                                     text, question.otherwise));
    std::string words = text;
    std::replace_if(
        words.begin(), words.end(), [](char c) { return c == '-' || c == '_'; }, ' ');
    const std::vector<KnownModem> found = modemsNamed(words, database);
    if (found.empty())
        throw UsageError(fmt::format("no modem is known as \"{}\"; give {}", text, question.otherwise));
    if (found.size() > 1)
        throw UsageError(fmt::format("\"{}\" may be several modems; give the ids of one, as in {}{}:{}", text,
                                     question.option, shownIds(question.idsOf(found.front())),
                                     listOf(found, question)));
    return found.front();
}

} // namespace Zevo
