#include "Interruption.h"

#include <ctime>
#include <initializer_list>
#include <pthread.h>

namespace Zevo {
namespace {

sigset_t interruptions() {
    sigset_t result;
    sigemptyset(&result);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&result, signal);
    return result;
}

} // namespace

sigset_t heldSignals() {
    sigset_t result = interruptions();
    sigaddset(&result, SIGCHLD);
    return result;
}

void holdInterruptions() {
    const sigset_t signals = heldSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void waitOrThrow(std::chrono::milliseconds duration) {
    const sigset_t signals = interruptions();
    const timespec time = {static_cast<time_t>(duration.count() / 1000),
                           static_cast<long>(duration.count() % 1000 * 1000000)};
    if (sigtimedwait(&signals, nullptr, &time) > 0)
        throw Interrupted();
}

} // namespace Zevo
