#pragma once

#include <chrono>
#include <functional>
#include <thread>

/// Waits until the condition holds. False when it did not within 20 seconds.
inline bool waitUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::yield();
    }
    return true;
}
