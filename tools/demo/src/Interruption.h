#pragma once

#include <chrono>

namespace Zevo {

/** Thrown out of every wait once somebody has pressed Ctrl-C, so that all that was started is ended on the
 * way out. */
struct Interrupted {};

/** From here on, in this thread and in those it starts, Ctrl-C and requests to terminate only show in waits.
 */
void holdInterruptions();

/** Waits so long, or throws Interrupted. */
void waitOrThrow(std::chrono::milliseconds duration);

} // namespace Zevo
