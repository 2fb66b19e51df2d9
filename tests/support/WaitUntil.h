#pragma once

#include <chrono>
#include <functional>
#include <thread>

/// Waits until the condition holds; false if it does not within the time. Polls once a millisecond, because
/// other tests need the processor meanwhile.
inline bool waitUntil(const std::function<bool()>& condition,
                      std::chrono::seconds limit = std::chrono::seconds(20)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
