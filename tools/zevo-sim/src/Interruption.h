#pragma once

#include <chrono>
#include <csignal>

namespace Zevo {

/// Thrown out of every wait once somebody has pressed Ctrl-C, so that all that was started is ended on the way out.
struct Interrupted {};

/// From here on, in this thread and in those it starts, Ctrl-C, requests to terminate and ends of children only show in
/// waits.
void holdInterruptions();

/// What holdInterruptions() holds: those that interrupt, and SIGCHLD.
sigset_t heldSignals();

/// Waits so long, or throws Interrupted.
void waitOrThrow(std::chrono::milliseconds duration);

} // namespace Zevo
