#pragma once

#include <chrono>
#include <csignal>

namespace Zevo {

/// Thrown by every wait after Ctrl-C, so that everything that was started is ended during the unwinding.
struct Interrupted {};

/// Blocks Ctrl-C, requests to terminate and SIGCHLD in this thread and in those it starts. From now on they
/// show only in waits.
void holdInterruptions();

/// The signals that holdInterruptions() blocks: those that interrupt, and SIGCHLD.
sigset_t heldSignals();

/// Waits for this long, or throws Interrupted.
void waitOrThrow(std::chrono::milliseconds duration);

} // namespace Zevo
