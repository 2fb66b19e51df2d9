// zevo-sim: a USB bus that plays scripts.

#include "DeviceChoice.h"
#include "FindingText.h"
#include "Interruption.h"
#include "PlayReport.h"
#include "ProgressBar.h"
#include "Recording.h"
#include "Session.h"
#include "SessionClient.h"
#include "Tool.h"
#include "VirtualBusProcess.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>

namespace {

using namespace Zevo;
using std::chrono::milliseconds;

const char FOOTER[] =
    "A DEVICE is given by its ids (12d1:1446), by a modem's name (huawei-e220) or by its file.\n"
    "Exit status: 0 all is fine, 1 problems (an expectation was not met, the program failed, the bus\n"
    "refused), 2 wrong usage.";
const char STORM_DEVICE[] = "12d1:1446";

struct Wanted {
    std::string bus;
    std::string database = MODEM_DATABASE;
    std::string device;
    std::string switchTo;
    std::string after = "2s";
    std::string port;
    std::string file;
    std::string junit;
    std::vector<std::string> lets;
    std::vector<std::string> program;
    std::vector<std::string> plugged;
    unsigned count = 1000;
    bool json = false;
    bool all = false;
    bool quiet = false;
};

std::vector<KnownModem> database(const Wanted& wanted) {
    return readModemDatabase(wanted.database);
}

void print(const Bus::Json& json) {
    std::cout << json.dump(2, ' ', false, Bus::Json::error_handler_t::replace) << '\n';
}

std::string described(const UsbDevice& device) {
    return shortIdentifier(device) + (device.productText.empty() ? "" : ", " + device.productText);
}

milliseconds timeGiven(const char* option, const std::string& text) {
    const std::optional<milliseconds> time = durationIn(text);
    if (!time)
        throw UsageError(fmt::format("{} \"{}\" is no time; expected: 500ms, 2s, 1min", option, text));
    return *time;
}

void writeReplacing(const std::string& path, const std::string& text) {
    std::ofstream file(path);
    if (!(file << text).flush())
        throw std::runtime_error(fmt::format("{} cannot be written: {}", path, std::strerror(errno)));
}

// ---- run ----

ExitStatus tellEnd(const Session& session, const std::string& program) {
    const int status = session.programStatus();
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return FINE;
    std::cerr << "zevo-sim: " << program << ' ' << endOfProgram(status) << '\n';
    return PROBLEMS_FOUND;
}

ExitStatus run(const Wanted& wanted, char* const* arguments) {
    restartForVirtualBus(arguments);
    holdInterruptions();
    const std::vector<KnownModem> known =
        wanted.plugged.empty() ? std::vector<KnownModem>() : database(wanted);
    std::vector<Modem> modems;
    for (const std::string& device : wanted.plugged)
        modems.push_back(chooseDevice(device, known));
    Session session(wanted.program);
    for (const Modem& modem : modems)
        session.plug(modem);
    session.startProgram();
    if (!wanted.quiet)
        std::cerr << fmt::format("zevo-sim: a virtual USB bus for {} (process {}). In another terminal:\n"
                                 "  zevo-sim plug huawei-e220 --bus {}\n",
                                 wanted.program.front(), session.program(), session.folder());
    session.serveUntilEnd();
    return tellEnd(session, wanted.program.front());
}

// ---- commands for a running bus ----

ExitStatus plug(const Wanted& wanted) {
    const std::vector<KnownModem> known = database(wanted);
    Modem modem = chooseDevice(wanted.device, known);
    std::optional<milliseconds> after;
    if (!wanted.switchTo.empty()) {
        modem = {modem.name, modem.first(), choosePersonality(wanted.switchTo, known)};
        after = timeGiven("--after", wanted.after);
    }
    SessionClient bus(wanted.bus);
    const std::string port = bus.plug(modem, wanted.port, after);
    std::cout << port << ": " << described(modem.first());
    if (after)
        std::cout << "; switches to " << shortIdentifier(modem.modem) << " after " << shownDuration(*after);
    std::cout << '\n';
    return FINE;
}

ExitStatus switchTo(const Wanted& wanted) {
    std::optional<UsbDevice> next;
    if (!wanted.device.empty())
        next = choosePersonality(wanted.device, database(wanted));
    SessionClient bus(wanted.bus);
    const std::string port = bus.switchTo(next, {wanted.port, {}});
    const Bus::Json listed = bus.list();
    for (const Bus::Json& device : listed.at("devices")) {
        if (device.at("port") == port)
            std::cout << fmt::format("{}: {}, {}\n", port, device.at("ids").get<std::string>(),
                                     device.at("text").get<std::string>());
    }
    return FINE;
}

ExitStatus unplug(const Wanted& wanted) {
    Which which;
    if (VirtualUsbBus::isPort(wanted.device))
        which.port = wanted.device;
    else if (!wanted.device.empty())
        which.ids = idsOf(chooseDevice(wanted.device, database(wanted)));
    SessionClient bus(wanted.bus);
    if (wanted.all)
        bus.unplugAll();
    else
        std::cout << bus.unplug(which) << ": unplugged\n";
    return FINE;
}

std::string deviceLine(const Bus::Json& device) {
    std::string line = fmt::format("  {:<8} {}  {}", device.at("port").get<std::string>(),
                                   device.at("ids").get<std::string>(), device.at("text").get<std::string>());
    if (device.contains("next"))
        line += fmt::format("; switches to {} in {}", device.at("next").at("ids").get<std::string>(),
                            shownDuration(milliseconds(device.at("next").at("milliseconds").get<long>())));
    return line + "\n";
}

ExitStatus list(const Wanted& wanted) {
    SessionClient bus(wanted.bus);
    const Bus::Json listed = bus.list();
    if (wanted.json) {
        print(listed);
        return FINE;
    }
    const Colours colours(takesColours(stdout));
    std::cout << "bus: " << colours.name(listed.at("session").get<std::string>()) << '\n';
    const Bus::Json& program = listed.at("program");
    if (!program.is_null())
        std::cout << fmt::format("program: {} (process {}) {}\n", program.at("command").get<std::string>(),
                                 program.at("process").get<int>(),
                                 program.at("runs").get<bool>() ? "runs"
                                                                : program.at("end").get<std::string>());
    std::cout << fmt::format("events: {}\n", listed.at("events").get<unsigned long>());
    if (listed.at("devices").empty())
        std::cout << "nothing is plugged in\n";
    for (const Bus::Json& device : listed.at("devices"))
        std::cout << deviceLine(device);
    return FINE;
}

ExitStatus stormOn(const Wanted& wanted) {
    const Modem modem = chooseDevice(wanted.device.empty() ? STORM_DEVICE : wanted.device, database(wanted));
    SessionClient bus(wanted.bus);
    const unsigned long before = bus.list().at("events").get<unsigned long>();
    const auto begin = std::chrono::steady_clock::now();
    {
        ProgressBar progress("plugging in and unplugging", wanted.count);
        storm(bus, modem, wanted.count, [&progress](unsigned done) { progress.at(done); });
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    const Bus::Json listed = bus.list();
    const unsigned long events = listed.at("events").get<unsigned long>() - before;
    const Bus::Json& program = listed.at("program");
    const bool runs = program.is_null() || program.at("runs").get<bool>();
    if (wanted.json)
        print({{"device", shortIdentifier(modem.first())},
               {"count", wanted.count},
               {"events", events},
               {"seconds", seconds},
               {"programRuns", runs}});
    else
        std::cout << fmt::format("{} was plugged in and unplugged {} times: {} events in {:.1f} s\n",
                                 described(modem.first()), wanted.count, events, seconds);
    return runs ? FINE : PROBLEMS_FOUND;
}

// ---- play ----

class Printer : public PlayListener {
public:
    explicit Printer(const Colours& colours) : m_colours(colours) {}

    void ends(const Outcome& outcome) override {
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - m_begin).count();
        if (outcome.step.kind == Step::Kind::say)
            std::cout << fmt::format("{:8.3f}  {}\n", seconds, m_colours.strong(outcome.step.words));
        else
            std::cout << fmt::format("{:8.3f}  {}{}{}\n", seconds, mark(outcome), outcome.step.text,
                                     outcome.isMet && !outcome.told.empty()
                                         ? m_colours.faint(" (" + outcome.told + ")")
                                         : std::string());
        std::cout << complaintText(outcome, m_colours) << std::flush;
    }

private:
    std::string mark(const Outcome& outcome) const {
        if (!outcome.isMet)
            return m_colours.error("not ok  ");
        return outcome.step.isExpectation() ? m_colours.good("ok      ") : "        ";
    }

    Colours m_colours;
    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
};

std::map<std::string, std::string> variablesIn(const std::vector<std::string>& lets) {
    std::map<std::string, std::string> variables;
    for (const std::string& let : lets) {
        const std::size_t equals = let.find('=');
        if (equals == std::string::npos || equals == 0)
            throw UsageError(fmt::format("--let \"{}\"; expected: NAME=VALUE", let));
        variables[let.substr(0, equals)] = let.substr(equals + 1);
    }
    return variables;
}

void addWhatNeedsAProgram(Script& script) {
    for (const Step& step : script.steps) {
        if (step.needsProgram())
            script.findings.push_back(
                {"script-needs-program", step.place,
                 "only the program of the script's own bus can be started, stopped and awaited",
                 "zevo-sim play FILE -- PROGRAM", ""});
    }
}

Played playOn(Bus& bus, const Script& script, const Wanted& wanted) {
    Printer printer{Colours(takesColours(stdout))};
    PlayListener silent;
    Player player(bus, wanted.json ? silent : printer);
    const auto begin = std::chrono::steady_clock::now();
    const unsigned long before = bus.list().at("events").get<unsigned long>();
    Played played;
    played.script = script.name;
    played.outcomes = player.play(script);
    played.events = bus.list().at("events").get<unsigned long>() - before;
    played.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    return played;
}

/// Ends the program if the script left it running; it has to end in time.
bool endsInTime(Session& session) {
    static constexpr milliseconds TIME_TO_END(10000);
    if (session.programRuns()) {
        session.stopProgram();
        const auto end = std::chrono::steady_clock::now() + TIME_TO_END;
        while (session.programRuns() && std::chrono::steady_clock::now() < end)
            session.idle(milliseconds(100));
    }
    if (session.programRuns()) {
        std::cerr << "zevo-sim: the program does not end, and is killed\n";
        return false;
    }
    return true;
}

ExitStatus report(const Played& played, const Wanted& wanted, bool isFine) {
    if (wanted.json)
        print(asJson(played));
    else
        std::cout << summaryText(played, Colours(takesColours(stdout)));
    if (!wanted.junit.empty())
        writeReplacing(wanted.junit, junitText(played));
    return played.isFine() && isFine ? FINE : PROBLEMS_FOUND;
}

ExitStatus play(const Wanted& wanted, char* const* arguments) {
    if (!wanted.program.empty() && !wanted.bus.empty())
        throw UsageError("--bus names a bus that is there; a program gets one of its own");
    if (!wanted.program.empty())
        restartForVirtualBus(arguments);
    Script script = readScript(wanted.file, variablesIn(wanted.lets), database(wanted));
    if (wanted.program.empty())
        addWhatNeedsAProgram(script);
    const Colours colours(takesColours(stderr));
    for (const Finding& finding : script.findings)
        std::cerr << sentence(finding, colours) << excerptOf(finding.place, colours);
    if (!script.findings.empty())
        throw UsageError(fmt::format("{} is not played: {} {} found", wanted.file, script.findings.size(),
                                     script.findings.size() == 1 ? "mistake" : "mistakes"));
    holdInterruptions();
    try {
        if (wanted.program.empty()) {
            SessionClient bus(wanted.bus);
            return report(playOn(bus, script, wanted), wanted, true);
        }
        Session session(wanted.program);
        session.startProgram();
        const Played played = playOn(session, script, wanted);
        const bool isFine = endsInTime(session);
        return report(played, wanted, isFine);
    } catch (const Interrupted&) {
        throw std::runtime_error(wanted.file + ": interrupted");
    }
}

// ---- record ----

ExitStatus record(const Wanted& wanted) {
    const std::vector<KnownModem> known = database(wanted);
    const std::string text = recordingOf(chooseSeen(wanted.device, seenDevices(), known), known);
    if (wanted.file.empty()) {
        std::cout << text;
        return FINE;
    }
    writeReplacing(wanted.file, text);
    std::cout << "written: " << wanted.file << '\n';
    return FINE;
}

// ---- options ----

void addBus(CLI::App& command, Wanted& wanted) {
    command.add_option("--bus", wanted.bus,
                       "The folder of the bus; else $ZEVO_SIM_BUS, else the only one of this user");
}

void addDatabase(CLI::App& command, Wanted& wanted) {
    command.add_option("--database", wanted.database, "The data folder of usb_modeswitch")
        ->capture_default_str();
}

} // namespace

int main(int argumentCount, char** arguments) {
    CLI::App app(
        "A USB bus to order: gives a program a virtual bus, onto which modems are plugged, switched\n"
        "and unplugged by commands or by a script of events and expectations.",
        "zevo-sim");
    app.footer(FOOTER);
    app.require_subcommand(1);
    Wanted wanted;

    CLI::App& runCommand =
        *app.add_subcommand("run", "Run a program on a virtual bus of its own, until it ends");
    runCommand.add_option("--plug", wanted.plugged, "A device that is plugged in already; may be repeated")
        ->allow_extra_args(false);
    runCommand.add_flag("-q,--quiet", wanted.quiet, "Do not say on standard error where the bus is");
    addDatabase(runCommand, wanted);
    runCommand.add_option("program", wanted.program, "Behind \"--\": the program and its arguments")
        ->required();

    CLI::App& plugCommand = *app.add_subcommand("plug", "Plug a device in");
    plugCommand.add_option("device", wanted.device, "Its ids, its name or its file")->required();
    plugCommand.add_option("--port", wanted.port,
                           "Where, as in 1-1 or 1-1.2; else the first free port of bus 1");
    plugCommand.add_option("--switch-to", wanted.switchTo, "What it becomes by itself");
    plugCommand.add_option("--after", wanted.after, "When it becomes that: 500ms, 2s, 1min")
        ->capture_default_str();
    addBus(plugCommand, wanted);
    addDatabase(plugCommand, wanted);

    CLI::App& switchCommand =
        *app.add_subcommand("switch-to", "Let a device become another, as modems do when they are switched");
    switchCommand.add_option("device", wanted.device,
                             "What it becomes; else the other personality of the modem");
    switchCommand.add_option("--port", wanted.port, "Of the device; not needed where only one is plugged in");
    addBus(switchCommand, wanted);
    addDatabase(switchCommand, wanted);

    CLI::App& unplugCommand = *app.add_subcommand("unplug", "Unplug a device");
    unplugCommand.add_option("device", wanted.device,
                             "Its port, ids, name or file; not needed for the only one");
    unplugCommand.add_flag("--all", wanted.all, "Unplug everything")->excludes("device");
    addBus(unplugCommand, wanted);
    addDatabase(unplugCommand, wanted);

    CLI::App& listCommand = *app.add_subcommand("list", "Tell what is plugged in, and of the program");
    listCommand.add_flag("--json", wanted.json, "Write JSON, as docs/schemas/zevo-sim.json describes it");
    addBus(listCommand, wanted);

    CLI::App& stormCommand =
        *app.add_subcommand("storm", "Plug a device in and unplug it again and again, as fast as it is read");
    stormCommand.add_option("device", wanted.device,
                            std::string("Its ids, its name or its file; else ") + STORM_DEVICE);
    stormCommand.add_option("--count", wanted.count, "How often")
        ->check(CLI::Range(1, 10000000))
        ->capture_default_str();
    stormCommand.add_flag("--json", wanted.json, "Write JSON, as docs/schemas/zevo-sim.json describes it");
    addBus(stormCommand, wanted);
    addDatabase(stormCommand, wanted);

    CLI::App& playCommand = *app.add_subcommand("play", "Play a script of events and expectations");
    playCommand.add_option("file", wanted.file, "The script")->required();
    playCommand.add_option("--let", wanted.lets, "NAME=VALUE, for $NAME in the script; may be repeated")
        ->allow_extra_args(false);
    playCommand.add_option("--junit", wanted.junit, "Write a report in JUnit's XML to this file");
    playCommand.add_flag("--json", wanted.json, "Write JSON, as docs/schemas/zevo-sim.json describes it");
    addBus(playCommand, wanted);
    addDatabase(playCommand, wanted);
    playCommand.add_option(
        "program", wanted.program,
        "Behind \"--\": a program that gets a bus of its own for the script, and its arguments");

    CLI::App& recordCommand = *app.add_subcommand(
        "record",
        "Write a modem that is really plugged in as a file for a bug report, without its serial number");
    recordCommand.add_option("device", wanted.device, "Its port, ids or name; not needed for the only modem");
    recordCommand.add_option("--out", wanted.file, "The file to write; else standard output");
    addDatabase(recordCommand, wanted);

    return runTool(app, argumentCount, arguments, [&] {
        if (runCommand.parsed())
            return run(wanted, arguments);
        if (plugCommand.parsed())
            return plug(wanted);
        if (switchCommand.parsed())
            return switchTo(wanted);
        if (unplugCommand.parsed())
            return unplug(wanted);
        if (listCommand.parsed())
            return list(wanted);
        if (stormCommand.parsed())
            return stormOn(wanted);
        if (playCommand.parsed())
            return play(wanted, arguments);
        return record(wanted);
    });
}
