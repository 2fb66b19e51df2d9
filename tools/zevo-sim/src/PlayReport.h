#pragma once

#include "Colours.h"
#include "Player.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace Zevo {

/// The results of a script.
struct Played {
    std::string script;
    std::vector<Outcome> outcomes;
    double seconds = 0;
    unsigned long events = 0;

    bool isFine() const;
};

/// The failure of a step as file:line:column: what is wrong, with the line; empty if it succeeded.
std::string complaintText(const Outcome& outcome, const Colours& colours);
/// One line.
std::string summaryText(const Played& played, const Colours& colours);
/// As docs/schemas/zevo-sim.json describes it.
nlohmann::ordered_json asJson(const Played& played);
/// As JUnit XML: one test case for each expectation, and for each event that the bus refused.
std::string junitText(const Played& played);

} // namespace Zevo
