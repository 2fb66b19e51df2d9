#include "Player.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace Zevo {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds GLANCE(10);

double secondsSince(std::chrono::steady_clock::time_point begin) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

std::string processText(pid_t process) {
    return fmt::format("process {}", process);
}

} // namespace

void storm(Bus& bus, const Modem& modem, unsigned count, const std::function<void(unsigned)>& done) {
    for (unsigned round = 1; round <= count; ++round) {
        Which which;
        which.port = bus.plug(modem);
        bus.unplug(which);
        bus.idle(milliseconds(0));
        done(round);
    }
}

Player::Player(Bus& bus, PlayListener& listener) : m_bus(bus), m_listener(listener) {}

std::vector<Outcome> Player::play(const Script& script) {
    std::vector<Outcome> outcomes;
    m_event = Clock::now();
    for (const Step& step : script.steps) {
        m_listener.begins(step);
        outcomes.push_back(playStep(step));
        m_listener.ends(outcomes.back());
    }
    return outcomes;
}

Outcome Player::playStep(const Step& step) {
    const Clock::time_point begin = Clock::now();
    Outcome outcome;
    outcome.step = step;
    try {
        if (step.isExpectation())
            expectStep(step, outcome);
        else
            act(step, outcome);
    } catch (const std::exception& problem) {
        outcome.isMet = false;
        outcome.isRefused = true;
        outcome.told = problem.what();
    }
    outcome.seconds = secondsSince(begin);
    return outcome;
}

void Player::act(const Step& step, Outcome& outcome) {
    using Kind = Step::Kind;
    const Which which = {step.port, step.ids};
    m_event = Clock::now();
    switch (step.kind) {
    case Kind::plug:
        outcome.told = fmt::format("{} at {}", shortIdentifier(step.modem.first()),
                                   m_bus.plug(step.modem, step.port, step.after));
        break;
    case Kind::switchTo:
        outcome.told = "at " + m_bus.switchTo(step.next, which);
        break;
    case Kind::unplug:
        outcome.told = "at " + m_bus.unplug(which);
        break;
    case Kind::unplugAll:
        m_bus.unplugAll();
        break;
    case Kind::storm:
        storm(m_bus, step.modem, step.count, [this](unsigned) { m_listener.timePasses(); });
        break;
    case Kind::start:
        m_bus.startProgram();
        break;
    case Kind::stop:
        m_bus.stopProgram();
        break;
    case Kind::wait:
        waitFor(step.time, m_event, [] { return false; });
        m_event = Clock::now();
        break;
    default:
        break;
    }
}

void Player::expectStep(const Step& step, Outcome& outcome) {
    using Kind = Step::Kind;
    switch (step.kind) {
    case Kind::expectStarted:
        return expectStarted(step, outcome);
    case Kind::expectNothingStarted:
        return expectNothingStarted(step, outcome);
    case Kind::expectEnd:
        return expectEnd(step, outcome);
    case Kind::expectText:
        return expectText(step, outcome);
    default:
        return expectRunning(step, outcome);
    }
}

void Player::expectStarted(const Step& step, Outcome& outcome) {
    std::optional<ApplicationWatch::Start> start;
    outcome.isMet =
        waitFor(step.time, m_event, [&] { return (start = m_watch.take(step.bundle)).has_value(); });
    const pid_t running = m_watch.processOf(step.bundle);
    if (start)
        outcome.told = fmt::format("{}, {}", sinceEvent(), processText(start->process));
    else if (running != 0)
        outcome.told = fmt::format("it was not started: it ran already ({})", processText(running));
    else
        outcome.told = fmt::format("{} was not started", step.bundle);
}

void Player::expectRunning(const Step& step, Outcome& outcome) {
    const bool shouldRun = step.kind == Step::Kind::expectRunning;
    outcome.isMet =
        waitFor(step.time, m_event, [&] { return (m_watch.processOf(step.bundle) != 0) == shouldRun; });
    const pid_t running = m_watch.processOf(step.bundle);
    outcome.told = running != 0 ? "it runs, " + processText(running) : step.bundle + " does not run";
}

void Player::expectNothingStarted(const Step& step, Outcome& outcome) {
    std::optional<ApplicationWatch::Start> start;
    outcome.isMet =
        !waitFor(step.time, Clock::now(), [&] { return (start = m_watch.takeAny()).has_value(); });
    if (start)
        outcome.told = fmt::format("{} was started ({})", start->bundle, processText(start->process));
}

void Player::expectEnd(const Step& step, Outcome& outcome) {
    Bus::Json program;
    const bool hasEnded = waitFor(step.time, m_event, [&] {
        program = m_bus.list().at("program");
        return !program.is_null() && !program.at("runs").get<bool>();
    });
    outcome.isMet = hasEnded && (!step.status || program.at("status") == *step.status);
    outcome.told = program.is_null() ? "no program was started"
                   : hasEnded        ? "it " + program.at("end").get<std::string>()
                                     : "it runs";
}

void Player::expectText(const Step& step, Outcome& outcome) {
    TextFollower& file = m_files.try_emplace(step.file, step.file).first->second;
    outcome.isMet = waitFor(step.time, m_event, [&] { return file.waitFor(step.words, milliseconds(0)); });
    outcome.told = outcome.isMet ? sinceEvent() : "it does not stand there";
}

bool Player::waitFor(milliseconds longest, Clock::time_point from, const std::function<bool()>& holds) {
    const Clock::time_point end = from + longest;
    for (;;) {
        m_watch.look();
        if (holds())
            return true;
        const auto left = std::chrono::duration_cast<milliseconds>(end - Clock::now());
        if (left.count() <= 0)
            return false;
        m_bus.idle(std::min(left, GLANCE));
        m_listener.timePasses();
    }
}

std::string Player::sinceEvent() const {
    return fmt::format("after {:.0f} ms", secondsSince(m_event) * 1000);
}

} // namespace Zevo
