#pragma once

#include "ModemFile.h"

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace Zevo {

/// Selects one of the plugged-in devices: by its port, or by any of these ids. Without both: the only one.
struct Which {
    std::string port;
    std::vector<std::string> ids;
};

/// A bus as its users see it, in this process or in another. If the bus refuses a request, throws
/// std::runtime_error. One thread.
class Bus {
public:
    using Json = nlohmann::ordered_json;

    virtual ~Bus() = default;

    /// Plugs the modem in, with its first personality. @param port  empty: the first free one. @param
    /// switchesAfter when it switches to the other by itself. @return the port
    std::string plug(const Modem& modem, const std::string& port = {},
                     std::optional<std::chrono::milliseconds> switchesAfter = std::nullopt);
    /// @param next  empty: the device's other personality. @return the port
    std::string switchTo(const std::optional<UsbDevice>& next, const Which& which = {});
    /// @return the port
    std::string unplug(const Which& which = {});
    void unplugAll();
    /// "session", "events", "program" and "devices", as docs/schemas/zevo-sim.json describes them.
    Json list();
    /// The program that the bus was created for; only in the process that owns it.
    void startProgram();
    void stopProgram();

    /// Lets time pass, and meanwhile does what is due on the bus. Returns earlier if something has happened.
    /// @throw Interrupted
    virtual void idle(std::chrono::milliseconds duration) = 0;

protected:
    virtual Json ask(const Json& request) = 0;
};

} // namespace Zevo
