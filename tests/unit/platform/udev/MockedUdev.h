#pragma once

// The calls of libudev that the feed depends on, with failures on demand.

#include <deque>
#include <functional>

struct MockedUdev {
    /// errno of the next failure; 0 for none.
    int newFails = 0;
    int monitorFails = 0;
    int enableFails = 0;
    /// errno of the next calls to receive, each once, before events are received again.
    std::deque<int> receiveFails;
    /// Called just before the monitor is enabled, and just after.
    std::function<void()> whenEnabling;
    std::function<void()> whenEnabled;
    /// The monitor's socket claims to be the kernel's, of these multicast groups; not where below 0.
    int groups = -1;
    /// The daemon is there.
    bool isDaemonThere = true;

    static MockedUdev& Get();
};

/// Throws away whatever waits in the monitor of the feed that receives next, and then reports ENOBUFS once.
void LoseEvents();
