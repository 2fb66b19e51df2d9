#pragma once

#include <string>

namespace Zevo {

/// The monitors of a virtual bus read events from sockets with room for a few. If one is full, the sender
/// gives up and ends the process. Waits until every monitor of the bus in this folder has room for another
/// event. Throws std::runtime_error if one does not read for too long.
void waitForEventRoom(const std::string& busFolder);

} // namespace Zevo
