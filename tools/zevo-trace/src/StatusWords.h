#pragma once

#include <string>

namespace Zevo {

/// The name and the meaning of a status of a failed start; both empty for an unknown number.
struct StatusWords {
    const char* name;
    const char* meaning;
    const char* remedy; ///< empty if none is always right
};
StatusWords wordsOfStatus(int status);

/// The cause of a crash report in words: "SIGNAL_SEGMENTATION_FAULT" is an access to memory that is not
/// there. Empty for a cause that needs no explanation.
std::string wordsOfCause(const std::string& cause);

/// Whether this cause is a request to end the launcher: the end of a session, Ctrl-C.
bool isRequestToEnd(const std::string& cause);

} // namespace Zevo
