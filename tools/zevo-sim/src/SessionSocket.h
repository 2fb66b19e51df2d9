#pragma once

#include "detail/FileDescriptor.h"

#include <string>
#include <vector>

namespace Zevo {

using kf::detail::FileDescriptor;

// How commands reach a running session: through a socket in the session's folder, which only its owner can
// enter. A message is a JSON text; each request gets one answer.

/// The environment variable that holds the session's folder, for the program and everything that it starts.
extern const char SESSION_VARIABLE[]; // "ZEVO_SIM_BUS"
/// The prefix of the folders of sessions; a dot and some letters follow.
extern const char SESSION_FOLDER_NAME[];

/// Listens in the folder. @throw std::runtime_error
FileDescriptor listenIn(const std::string& folder);

/// @param why  set on failure: the reason, for people
FileDescriptor connectTo(const std::string& folder, std::string& why);

/// False if the other side is gone.
bool sendMessage(int connection, const std::string& text);
/// Empty if the other side is gone.
std::string receiveMessage(int connection);

/// This user's session folders in the temporary folder, dead ones included, sorted by name.
std::vector<std::string> sessionFolders();

} // namespace Zevo
