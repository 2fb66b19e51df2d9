#pragma once

// The calls of libudev that the feed depends on, with failures on demand.

#include <deque>
#include <functional>

struct MockedUdev {
    /// Instead of an errno: the call fails and leaves errno as it was.
    static constexpr int SILENT = -1;

    /// errno of the next failure; 0 for none.
    int newFails = 0;
    int monitorFails = 0;
    int enableFails = 0;
    /// errno of the next readings of the socket, each once, before events are received again.
    std::deque<int> receiveFails;
    /// errno of libudev's next receives of a message that is there, each once; the message stays.
    std::deque<int> refusals;
    /// errno of the next looks at a device that is there, each once.
    std::deque<int> looksFail;
    /// errno of the next questions for a device's subsystem, each once.
    std::deque<int> subsystemsFail;
    /// errno of the next questions for a device's type, and for its node, each once.
    std::deque<int> typesFail;
    std::deque<int> nodesFail;
    /// How many monitors have been made.
    int monitors = 0;
    /// Called just before the monitor is enabled, and just after.
    std::function<void()> whenEnabling;
    std::function<void()> whenEnabled;
    /// The monitor's socket claims to be the kernel's, of these multicast groups; not where below 0.
    int groups = -1;
    /// The daemon is there.
    bool isDaemonThere = true;

    static MockedUdev& get();
};

/// Throws away whatever waits in the monitor of the feed that receives next, and then reports ENOBUFS once.
void LoseEvents();
