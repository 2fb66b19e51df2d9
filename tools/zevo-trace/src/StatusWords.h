#pragma once

#include <string>

namespace Zevo {

/// What a status that a start ended with is called, and means; both empty for a number that nobody knows.
struct StatusWords {
    const char* name;
    const char* meaning;
    const char* remedy; ///< empty where there is none that is always right
};
StatusWords wordsOfStatus(int status);

/// The cause of a crash report in words: "SIGNAL_SEGMENTATION_FAULT" is an access to memory that is not there. Empty for
/// what speaks for itself.
std::string wordsOfCause(const std::string& cause);

/// Whether this cause is somebody's wish that the launcher ends: the end of a session, Ctrl-C.
bool isRequestToEnd(const std::string& cause);

} // namespace Zevo
