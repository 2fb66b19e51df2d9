#pragma once

#include <chrono>
#include <thread>

namespace Zevo {

/// Long enough for a busy machine and a sanitizer; only a wait that fails lasts so long.
const std::chrono::seconds LONGEST_WAIT(20);

/// Polls until the condition holds; false if it does not by the deadline.
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
