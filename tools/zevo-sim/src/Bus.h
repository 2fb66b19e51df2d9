#pragma once

#include "ModemFile.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace Zevo {

/// Which of the plugged-in devices somebody means: by its port, or by any of these ids. Neither: the only one.
struct Which {
    std::string port;
    std::vector<std::string> ids;
};

/// A bus as its users see it: in this process, or another process's. What the bus refuses is thrown as
/// std::runtime_error. One thread.
class Bus {
public:
    using Json = nlohmann::ordered_json;

    virtual ~Bus() = default;

    /// Plugs the modem in as what it shows first. @param port empty: the first free one. @param switchesAfter when it
    /// becomes the other by itself. @return the port
    std::string plug(const Modem& modem, const std::string& port = {},
                     std::optional<std::chrono::milliseconds> switchesAfter = std::nullopt);
    /// @param next empty: the device's other personality. @return the port
    std::string switchTo(const std::optional<UsbDevice>& next, const Which& which = {});
    /// @return the port
    std::string unplug(const Which& which = {});
    void unplugAll();
    /// "session", "events", "program" and "devices", as docs/schemas/zevo-sim.json describes them.
    Json list();
    /// The program that the bus was made for; only where it is this process's.
    void startProgram();
    void stopProgram();

    /// Lets time pass; what is due on the bus happens meanwhile. Shorter when something has happened.
    /// @throw Interrupted
    virtual void idle(std::chrono::milliseconds duration) = 0;

protected:
    virtual Json ask(const Json& request) = 0;
};

} // namespace Zevo
