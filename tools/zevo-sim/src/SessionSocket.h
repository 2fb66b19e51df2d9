#pragma once

#include "detail/FileDescriptor.h"

#include <string>
#include <vector>

namespace Zevo {

using kf::detail::FileDescriptor;

// How the commands reach a running session: a socket in the session's folder, which only its owner can enter. A message is
// a JSON text; each request gets one answer.

/// The variable that names the session's folder to the program and to all that it starts.
extern const char SESSION_VARIABLE[]; // "ZEVO_SIM_BUS"
/// What the folders of sessions are called, up to a dot and some letters.
extern const char SESSION_FOLDER_NAME[];

/// Listens in the folder. @throw std::runtime_error
FileDescriptor listenIn(const std::string& folder);

/// @param why what is in the way, for people, when the result is none. Nothing else in it means that a session is dead.
FileDescriptor connectTo(const std::string& folder, std::string& why);

/// False when the other side is gone.
bool sendMessage(int connection, const std::string& text);
/// Empty when the other side is gone.
std::string receiveMessage(int connection);

/// Folders of this user's sessions in the temporary folder, dead ones included, in the order of their names.
std::vector<std::string> sessionFolders();

} // namespace Zevo
