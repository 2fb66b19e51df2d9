#pragma once

#include "Colours.h"
#include "Sink.h"
#include "Story.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace Zevo {

/// The result of a run, for people who ask whether the application was started.
struct Answer {
    bool isGood = false; ///< it was started, or was running already, and nothing else failed
    std::string text;    ///< one or more sentences
};
Answer answerOf(const RunStory& story);

/// A run in sentences.
void tell(const RunStory& story, const Colours& colours, const Sink& sink);

/// A run as docs/zevo-trace.md describes it.
nlohmann::ordered_json jsonOf(const RunStory& story);

} // namespace Zevo
