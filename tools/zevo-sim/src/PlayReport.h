#pragma once

#include "Colours.h"
#include "Player.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace Zevo {

/// A script that was played.
struct Played {
    std::string script;
    std::vector<Outcome> outcomes;
    double seconds = 0;
    unsigned long events = 0;

    bool isFine() const;
};

/// What came of a step, as file:line:column: what is wrong, with the line; empty where nothing is.
std::string complaintText(const Outcome& outcome, const Colours& colours);
/// One line.
std::string summaryText(const Played& played, const Colours& colours);
/// As docs/schemas/zevo-sim.json describes it.
nlohmann::ordered_json asJson(const Played& played);
/// JUnit's XML: one test case for each expectation, and for each event that the bus refused.
std::string junitText(const Played& played);

} // namespace Zevo
