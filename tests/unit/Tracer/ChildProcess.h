#pragma once

#include <functional>
#include <string>

/// What became of a piece of code that ran in a child process.
struct ChildResult {
    int exitStatus = -1; // -1: ended by a signal
    std::string output;  // standard output
    std::string errors;  // standard error
};

/// Runs the action in a child process, which ends with status 0 behind it.
ChildResult runInChild(const std::function<void()>& action);
