#pragma once

// The calls of libudev that the feed depends on, with failures on demand.

#include <deque>
#include <functional>
#include <string>
#include <vector>

struct MockedUdev {
    /// Instead of an errno: the call fails and leaves errno as it was.
    static constexpr int SILENT = -1;

    /// The errno with which each of these calls fails; 0: it does not fail.
    int newFails = 0;
    int monitorFails = 0;
    int enableFails = 0;
    /// The errnos of the next reads from the socket, each once, before events are received again.
    std::deque<int> receiveFails;
    /// The errnos with which libudev next refuses to receive a waiting message, each once; the message stays.
    std::deque<int> refusals;
    /// The errnos of the next calls that look a device up by its path, each once.
    std::deque<int> looksFail;
    /// The errnos of the next queries for a device's subsystem, each once.
    std::deque<int> subsystemsFail;
    /// The errnos of the next queries for a device's type, and for its node, each once.
    std::deque<int> typesFail;
    std::deque<int> nodesFail;
    /// The number of monitors that were requested.
    int monitors = 0;
    /// The subsystems whose events the monitors were told to receive.
    std::vector<std::string> filters;
    /// Called just before the monitor is enabled, and just after.
    std::function<void()> whenEnabling;
    std::function<void()> whenEnabled;
    /// If not negative, the monitor's socket appears to be a netlink socket with these multicast groups.
    int groups = -1;
    /// Whether the udev daemon appears to run.
    bool isDaemonThere = true;

    static MockedUdev& get();
};

/// Makes the next receive discard all events that wait in its monitor's socket, and then fail once with
/// ENOBUFS.
void LoseEvents();
