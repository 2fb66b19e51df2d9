#pragma once

#include "ApplicationWatch.h"
#include "Bus.h"
#include "Script.h"
#include "TextFollower.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Zevo {

/// The result of a step.
struct Outcome {
    Step step;
    bool isMet = true;
    bool isRefused = false; ///< the bus did not perform it; isMet is then false
    std::string told;       ///< what happened, or why the expectation is not met
    double seconds = 0;     ///< how long it took
};

/// Is notified while a script is played.
class PlayListener {
public:
    virtual ~PlayListener() = default;
    virtual void begins(const Step&) {}
    virtual void ends(const Outcome&) {}
    /// Called up to a hundred times a second while time passes.
    virtual void timePasses() {}
};

/// Plugs the device in and unplugs it this many times, as fast as the programs on the bus read.
/// @param done  called after each round with the number of rounds
void storm(Bus& bus, const Modem& modem, unsigned count, const std::function<void(unsigned)>& done);

/// Plays a script on a bus.
///
/// The time of an expectation counts from the last statement that is not an expectation; "nothing started
/// for" counts from its own beginning. Each start meets one expectation: the next one needs another start.
/// Texts in files are searched from the beginning of the file, and then behind the last one found.
class Player {
public:
    Player(Bus& bus, PlayListener& listener);

    /// Plays all steps, whatever their results. @throw Interrupted
    std::vector<Outcome> play(const Script& script);

private:
    using Clock = std::chrono::steady_clock;

    Outcome playStep(const Step& step);
    void act(const Step& step, Outcome& outcome);
    void expectStep(const Step& step, Outcome& outcome);
    void expectStarted(const Step& step, Outcome& outcome);
    void expectRunning(const Step& step, Outcome& outcome);
    void expectNothingStarted(const Step& step, Outcome& outcome);
    void expectEnd(const Step& step, Outcome& outcome);
    void expectText(const Step& step, Outcome& outcome);
    bool waitFor(std::chrono::milliseconds longest, Clock::time_point from,
                 const std::function<bool()>& holds);
    std::string sinceEvent() const;

    Bus& m_bus;
    PlayListener& m_listener;
    ApplicationWatch m_watch;
    std::map<std::string, TextFollower> m_files;
    Clock::time_point m_event = Clock::now();
};

} // namespace Zevo
