#include "Difference.h"

#include <algorithm>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace Zevo {
namespace {

constexpr std::size_t MOST_MESSAGES = 5;

/// The next call; stores the messages before it in `messages`.
std::optional<Step> nextCall(const Steps& steps, std::vector<Step>& messages) {
    messages.clear();
    for (;;) {
        std::optional<Step> step = steps();
        if (!step || !step->isMessage)
            return step;
        messages.push_back(std::move(*step));
    }
}

// Addresses in brackets differ between machines.
std::string withoutAddresses(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t end = text[i] == '[' ? text.find(']', i) : std::string::npos;
        const bool isAddress = end != std::string::npos && end > i + 4 &&
                               text.find_first_not_of("0123456789abcdefx", i + 1) == end;
        if (isAddress) {
            result += "[]";
            i = end;
        } else {
            result += text[i];
        }
    }
    return result;
}

void compareMessages(const std::vector<Step>& good, const std::vector<Step>& bad, Parting& parting) {
    const std::size_t count = std::max(good.size(), bad.size());
    for (std::size_t i = 0; i < count; ++i) {
        const Step left = i < good.size() ? good[i] : Step();
        const Step right = i < bad.size() ? bad[i] : Step();
        if (left.level == right.level && withoutAddresses(left.text) == withoutAddresses(right.text))
            continue;
        if (++parting.differentMessages <= MOST_MESSAGES)
            parting.messages.emplace_back(left, right);
    }
}

std::string textOf(const std::optional<Step>& step) {
    return step ? fmt::format("{} ({})", step->text, step->place) : "nothing more: the trace ends";
}

nlohmann::ordered_json jsonOfStep(const Step& step) {
    return {{"text", step.text}, {"depth", step.depth}, {"time", step.time}, {"place", step.place}};
}

} // namespace

std::optional<Parting> findParting(const Steps& good, const Steps& bad) {
    Parting parting;
    std::vector<Step> goodMessages, badMessages;
    for (;;) {
        parting.good = nextCall(good, goodMessages);
        parting.bad = nextCall(bad, badMessages);
        compareMessages(goodMessages, badMessages, parting);
        const bool isSame = parting.good && parting.bad && parting.good->depth == parting.bad->depth &&
                            parting.good->text == parting.bad->text;
        if (!isSame)
            break;
        ++parting.steps;
        while (!parting.common.empty() && parting.common.back().depth >= parting.bad->depth)
            parting.common.pop_back();
        parting.common.push_back(*parting.bad);
    }
    if (!parting.good && !parting.bad && parting.differentMessages == 0)
        return std::nullopt;
    // A call that has returned in both is not open.
    std::uint32_t depth = 0;
    for (const auto& step : {parting.good, parting.bad})
        depth = step ? std::max(depth, step->depth) : depth;
    while (!parting.common.empty() && parting.common.back().depth >= depth)
        parting.common.pop_back();
    return parting;
}

void tell(const std::optional<Parting>& parting, const Colours& colours, const Sink& sink) {
    if (!parting) {
        sink("The call trees are the same, and so are the messages.\n");
        return;
    }
    if (!parting->good && !parting->bad) {
        sink(fmt::format("The call trees are the same ({} calls); messages differ.\n", parting->steps));
    } else {
        sink(fmt::format("{} calls are the same. Then the call trees part, in\n", parting->steps));
        for (const Step& call : parting->common)
            sink(fmt::format("  {}{}\n", std::string(2 * static_cast<std::size_t>(call.depth), ' '),
                             colours.name(call.text)));
        sink("  good: " + colours.good(textOf(parting->good)) + "\n");
        sink("  bad:  " + colours.error(textOf(parting->bad)) + "\n");
    }
    if (parting->differentMessages == 0)
        return;
    sink(fmt::format("\n{} messages on the way differ{}:\n", parting->differentMessages,
                     parting->differentMessages > parting->messages.size() ? ", first of all" : ""));
    for (const auto& [good, bad] : parting->messages) {
        sink("  good: " + (good.level == 0 ? colours.faint("no message") : good.text) + "\n");
        sink("  bad:  " + (bad.level == 0 ? colours.faint("no message") : bad.text) + "\n");
    }
}

nlohmann::ordered_json jsonOf(const std::optional<Parting>& parting) {
    if (!parting)
        return nullptr;
    const auto stepJson = [](const std::optional<Step>& step) {
        return step ? jsonOfStep(*step) : nlohmann::ordered_json(nullptr);
    };
    nlohmann::ordered_json common = nlohmann::ordered_json::array(),
                           messages = nlohmann::ordered_json::array();
    for (const Step& call : parting->common)
        common.push_back(call.text);
    for (const auto& [good, bad] : parting->messages)
        messages.push_back({{"good", good.level == 0 ? nlohmann::ordered_json(nullptr) : jsonOfStep(good)},
                            {"bad", bad.level == 0 ? nlohmann::ordered_json(nullptr) : jsonOfStep(bad)}});
    return {{"same_calls", parting->steps},
            {"in", common},
            {"good", stepJson(parting->good)},
            {"bad", stepJson(parting->bad)},
            {"different_messages", parting->differentMessages},
            {"messages", messages}};
}

std::vector<Slower> findSlower(const Summary& good, const Summary& bad) {
    // The clock of a trace has milliseconds: less is not a difference.
    constexpr double LEAST = 1;
    std::vector<Slower> result;
    for (const std::string& name : bad.names()) {
        const CallTotals there = bad.totalsOf(name), here = good.totalsOf(name);
        if (there.timed == 0 || here.timed == 0)
            continue;
        const Slower slower = {name, static_cast<double>(here.own) / static_cast<double>(here.timed),
                               static_cast<double>(there.own) / static_cast<double>(there.timed), here.count,
                               there.count};
        if (slower.badMean - slower.goodMean >= LEAST)
            result.push_back(slower);
    }
    std::sort(result.begin(), result.end(), [](const Slower& a, const Slower& b) {
        return a.badMean - a.goodMean > b.badMean - b.goodMean;
    });
    return result;
}

} // namespace Zevo
