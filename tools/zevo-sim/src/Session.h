#pragma once

#include "Bus.h"
#include "ThrowAwayFolder.h"
#include "VirtualUsbBus.h"
#include "detail/FileDescriptor.h"

#include <map>
#include <sys/types.h>

namespace Zevo {

/// A virtual bus, the program that was started for it, and the socket through which other processes plug and
/// unplug.
///
/// Everything happens in idle(), on one thread. Call restartForVirtualBus() and holdInterruptions() before
/// creating one.
class Session : public Bus {
public:
    /// @param command the program and its arguments, not started yet; may be empty
    explicit Session(std::vector<std::string> command = {});
    /// Ends the program.
    ~Session() override;
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const std::string& folder() const { return m_folder.path(); }
    pid_t program() const { return m_program; }
    bool programRuns() const { return m_program > 0 && !m_hasEnded; }
    /// The status as waitpid() returns it, once the program has ended.
    int programStatus() const { return m_status; }

    /// Answers other processes and switches devices that are due, until the time is over, the program ends,
    /// or an interruption comes. The first interruption is passed on to the program, the second kills it.
    void idle(std::chrono::milliseconds duration) override;
    /// As idle(), until the program ends.
    void serveUntilEnd();

protected:
    Json ask(const Json& request) override;

private:
    using Clock = std::chrono::steady_clock;
    struct Plugged {
        Modem modem;
        UsbDevice shown;
        std::optional<Clock::time_point> switchesAt;
    };

    Json plugIn(const Json& request);
    Json switchDevice(const Json& request);
    Json pullOut(const Json& request);
    Json describe() const;
    std::string portMeantBy(const Json& which) const;
    UsbDevice otherPersonalityAt(const std::string& port) const;
    void becomes(const std::string& port, const UsbDevice& next);
    void start();
    void stop() const;
    void waitForSomething(Clock::time_point end);
    void answerOne();
    void switchWhatIsDue();
    void takeSignals();

    ThrowAwayFolder m_folder;
    VirtualUsbBus m_bus;
    kf::detail::FileDescriptor m_listener;
    kf::detail::FileDescriptor m_signals;
    std::vector<std::string> m_command;
    std::map<std::string, Plugged> m_plugged; // by port
    pid_t m_program = 0;
    bool m_hasEnded = false;
    int m_status = 0;
    int m_interruptions = 0;
};

/// "ended with status 1", "was ended by signal 9 (Killed)".
std::string endOfProgram(int status);

} // namespace Zevo
