#pragma once

#include <chrono>
#include <thread>

namespace Zevo {

/// Long enough for a busy machine and a sanitizer; a wait that succeeds never takes it.
const std::chrono::seconds LONGEST_WAIT(20);

/// Asks until the condition holds; false when it still does not at the deadline.
template <class Condition>
bool waitUntil(Condition holds, std::chrono::milliseconds longest = LONGEST_WAIT) {
    const auto deadline = std::chrono::steady_clock::now() + longest;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace Zevo
