#include "Session.h"

#include "Interruption.h"
#include "SessionSocket.h"
#include "Waiting.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>

namespace Zevo {
namespace {

using Json = Bus::Json;

Modem modemIn(const Json& request) {
    std::istringstream text(request.at("modem").get<std::string>());
    return readModem(text, "the request");
}

Json asJson(const UsbDevice& device) {
    Json json = {{"ids", shortIdentifier(device)}, {"hardwareId", hardwareIdentifier(device)}};
    json["text"] = device.productText;
    json["interfaces"] = device.interfaces.size();
    return json;
}

/// Never returns. The reason of a failure goes to the pipe, which a successful exec closes.
[[noreturn]] void becomeProgram(const std::vector<std::string>& command, const std::string& folder,
                                int failures) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    setenv(SESSION_VARIABLE, folder.c_str(), 1);
    const sigset_t signals = heldSignals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    std::vector<char*> arguments;
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str())); // execvp only reads them
    arguments.push_back(nullptr);
    execvp(arguments.front(), arguments.data());
    const int reason = errno;
    if (write(failures, &reason, sizeof reason) < 0)
        _exit(126);
    _exit(127);
}

} // namespace

std::string endOfProgram(int status) {
    if (WIFSIGNALED(status))
        return fmt::format("was ended by signal {} ({})", WTERMSIG(status), strsignal(WTERMSIG(status)));
    return fmt::format("ended with status {}", WEXITSTATUS(status));
}

Session::Session(std::vector<std::string> command)
    : m_folder(SESSION_FOLDER_NAME), m_listener(listenIn(m_folder.path())), m_command(std::move(command)) {
    const sigset_t signals = heldSignals();
    m_signals = FileDescriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!m_signals.isOpen())
        throw std::runtime_error(std::string("cannot wait for signals: ") + std::strerror(errno));
}

Session::~Session() {
    if (!programRuns())
        return;
    kill(m_program, SIGTERM);
    static constexpr std::chrono::seconds TIME_TO_END(5);
    const auto hasEnded = [this] { return waitpid(m_program, &m_status, WNOHANG) == m_program; };
    if (waitUntil(hasEnded, TIME_TO_END))
        return;
    kill(m_program, SIGKILL);
    waitpid(m_program, &m_status, 0);
}

// ---- requests ----

Json Session::ask(const Json& request) {
    const std::string what = request.at("do").get<std::string>();
    if (what == "plug")
        return plugIn(request);
    if (what == "switch")
        return switchDevice(request);
    if (what == "unplug")
        return pullOut(request);
    if (what == "unplug all") {
        m_plugged.clear();
        m_bus.unplugAll();
        return Json::object();
    }
    if (what == "list")
        return describe();
    if (what == "start") {
        start();
        return Json::object();
    }
    if (what == "stop") {
        stop();
        return Json::object();
    }
    throw std::runtime_error("the bus does not know what \"" + what + "\" is");
}

Json Session::plugIn(const Json& request) {
    const Modem modem = modemIn(request);
    std::string port = request.at("port").get<std::string>();
    if (port.empty())
        port = m_bus.freePort();
    if (request.contains("after") && (!modem.cdRom.isKnown() || !modem.modem.isKnown()))
        throw std::runtime_error(shortIdentifier(modem.first()) + " has nothing to switch to");
    m_bus.plug(port, modem.first());
    Plugged& plugged = m_plugged[port];
    plugged = {modem, modem.first(), std::nullopt};
    if (request.contains("after"))
        plugged.switchesAt = Clock::now() + std::chrono::milliseconds(request.at("after").get<long>());
    return {{"port", port}};
}

Json Session::switchDevice(const Json& request) {
    const std::string port = portMeantBy(request.at("which"));
    becomes(port, request.contains("modem") ? modemIn(request).modem : otherPersonalityAt(port));
    return {{"port", port}};
}

Json Session::pullOut(const Json& request) {
    const std::string port = portMeantBy(request.at("which"));
    m_plugged.erase(port);
    m_bus.unplug(port);
    return {{"port", port}};
}

Json Session::describe() const {
    Json devices = Json::array();
    for (const auto& [port, plugged] : m_plugged) {
        Json device = {{"port", port}};
        device.update(asJson(plugged.shown));
        if (plugged.switchesAt) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(*plugged.switchesAt - Clock::now());
            device["next"] = {{"ids", shortIdentifier(otherPersonalityAt(port))},
                              {"milliseconds", std::max<long>(0, left.count())}};
        }
        devices.push_back(device);
    }
    Json program = nullptr;
    if (m_program > 0) {
        program = {{"process", m_program}, {"runs", programRuns()}, {"command", m_command.front()}};
        if (m_hasEnded) {
            program["end"] = endOfProgram(m_status);
            program["status"] = WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1;
        }
    }
    return {{"session", m_folder.path()},
            {"program", program},
            {"events", m_bus.eventCount()},
            {"devices", devices}};
}

std::string Session::portMeantBy(const Json& which) const {
    const std::string named = which.at("port").get<std::string>();
    const auto ids = which.at("ids").get<std::vector<std::string>>();
    std::vector<std::string> ports;
    for (const auto& [port, plugged] : m_plugged) {
        const std::string shown = shortIdentifier(plugged.shown);
        const bool isMeant = named.empty()
                                 ? ids.empty() || std::find(ids.begin(), ids.end(), shown) != ids.end()
                                 : port == named;
        if (isMeant)
            ports.push_back(port);
    }
    if (ports.size() == 1)
        return ports.front();
    if (m_plugged.empty())
        throw std::runtime_error("nothing is plugged in");
    std::string list;
    for (const auto& [port, plugged] : m_plugged)
        list += fmt::format("{}{} at {}", list.empty() ? "" : ", ", shortIdentifier(plugged.shown), port);
    if (ports.size() > 1)
        throw std::runtime_error("several devices are plugged in, name the port: " + list);
    const std::string asked = named.empty() ? ids.front() : "port " + named;
    throw std::runtime_error(fmt::format("{} is not plugged in; there is: {}", asked, list));
}

UsbDevice Session::otherPersonalityAt(const std::string& port) const {
    const Plugged& plugged = m_plugged.at(port);
    const UsbDevice& other = plugged.shown == plugged.modem.modem ? plugged.modem.cdRom : plugged.modem.modem;
    if (!other.isKnown())
        throw std::runtime_error(fmt::format("it is not known what {} becomes: name it, as in 12d1:1001",
                                             shortIdentifier(plugged.shown)));
    return other;
}

void Session::becomes(const std::string& port, const UsbDevice& next) {
    Plugged& plugged = m_plugged.at(port);
    plugged.switchesAt.reset();
    m_bus.switchMode(port, next);
    plugged.shown = next;
}

// ---- the program ----

void Session::start() {
    if (m_command.empty())
        throw std::runtime_error("there is no program to start");
    if (programRuns())
        throw std::runtime_error(fmt::format("{} runs already", m_command.front()));
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error(std::string("cannot make a pipe: ") + std::strerror(errno));
    const FileDescriptor failures(ends[0]);
    FileDescriptor write(ends[1]);
    const pid_t child = fork();
    if (child < 0)
        throw std::runtime_error(std::string("cannot start a process: ") + std::strerror(errno));
    if (child == 0)
        becomeProgram(m_command, m_folder.path(), write.get());
    write = FileDescriptor();
    int reason = 0;
    if (read(failures.get(), &reason, sizeof reason) > 0) {
        waitpid(child, nullptr, 0);
        throw std::runtime_error(
            fmt::format("{} cannot be started: {}", m_command.front(), std::strerror(reason)));
    }
    m_program = child;
    m_hasEnded = false;
}

void Session::stop() const {
    if (!programRuns())
        throw std::runtime_error("no program runs");
    kill(m_program, SIGTERM);
}

// ---- time ----

void Session::idle(std::chrono::milliseconds duration) {
    const int before = m_interruptions;
    const bool ranBefore = programRuns();
    const Clock::time_point end = Clock::now() + duration;
    do {
        waitForSomething(end);
        takeSignals();
        if (m_interruptions != before)
            throw Interrupted();
        switchWhatIsDue();
        answerOne();
    } while (Clock::now() < end && programRuns() == ranBefore);
}

void Session::serveUntilEnd() {
    while (programRuns()) {
        try {
            idle(std::chrono::hours(1));
        } catch (const Interrupted&) {
            // The program has received the signal, and ends in its own time.
        }
    }
}

void Session::waitForSomething(Clock::time_point end) {
    for (const auto& [port, plugged] : m_plugged)
        if (plugged.switchesAt)
            end = std::min(end, *plugged.switchesAt);
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(end - Clock::now()).count();
    pollfd waited[] = {{m_listener.get(), POLLIN, 0}, {m_signals.get(), POLLIN, 0}};
    poll(waited, 2, left <= 0 ? 0 : static_cast<int>(left / 1000 + 1));
}

void Session::switchWhatIsDue() {
    const Clock::time_point now = Clock::now();
    for (auto& [port, plugged] : m_plugged)
        if (plugged.switchesAt && *plugged.switchesAt <= now)
            becomes(port, otherPersonalityAt(port));
}

void Session::answerOne() {
    pollfd waited = {m_listener.get(), POLLIN, 0};
    if (poll(&waited, 1, 0) != 1)
        return;
    const FileDescriptor connection(accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    // A client sends its request at once; one that does not must not block the others.
    static constexpr timeval LONGEST = {1, 0};
    setsockopt(connection.get(), SOL_SOCKET, SO_RCVTIMEO, &LONGEST, sizeof LONGEST);
    const std::string request = connection.isOpen() ? receiveMessage(connection.get()) : std::string();
    if (request.empty())
        return;
    Json answer;
    try {
        const Json json = Json::parse(request);
        const std::string what = json.at("do").get<std::string>();
        if (what == "start" || what == "stop")
            throw std::runtime_error("the program belongs to whoever started the bus");
        answer = ask(json);
    } catch (const std::exception& problem) {
        answer = {{"error", problem.what()}};
    }
    sendMessage(connection.get(), answer.dump(-1, ' ', false, Json::error_handler_t::replace));
}

void Session::takeSignals() {
    signalfd_siginfo signal;
    while (read(m_signals.get(), &signal, sizeof signal) == sizeof signal) {
        if (signal.ssi_signo == SIGCHLD)
            continue;
        ++m_interruptions;
        // Ctrl-C at a terminal reaches the program directly.
        const bool isKnownToProgram = signal.ssi_code == SI_KERNEL && m_interruptions == 1;
        if (programRuns() && !isKnownToProgram)
            kill(m_program, m_interruptions == 1 ? SIGTERM : SIGKILL);
    }
    if (programRuns() && waitpid(m_program, &m_status, WNOHANG) == m_program)
        m_hasEnded = true;
}

} // namespace Zevo
