#include "EventRoom.h"

#include "Waiting.h"

#include <cstring>
#include <dirent.h>
#include <memory>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace Zevo {
namespace {

std::vector<std::string> monitorSockets(const std::string& busFolder) {
    std::vector<std::string> result;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(busFolder.c_str()), &closedir);
    while (const dirent* entry = listing ? readdir(listing.get()) : nullptr)
        if (std::strncmp(entry->d_name, "event", 5) == 0)
            result.push_back(busFolder + "/" + entry->d_name);
    return result;
}

/// A connection is writable exactly while the other end's queue has room. If the monitor is gone, only its
/// name is left, and there is nothing to wait for.
bool hasRoom(const std::string& path, std::chrono::milliseconds longest) {
    const int connection = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    pollfd wait = {connection, POLLOUT, 0};
    const bool result = connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
                        poll(&wait, 1, static_cast<int>(longest.count())) > 0;
    close(connection);
    return result;
}

} // namespace

void waitForEventRoom(const std::string& busFolder) {
    for (const std::string& path : monitorSockets(busFolder))
        if (!hasRoom(path, LONGEST_WAIT))
            throw std::runtime_error("the monitor behind " + path + " does not read its events");
}

} // namespace Zevo
