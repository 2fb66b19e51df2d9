#pragma once

#include <functional>
#include <string>

/// The result of code that ran in a child process.
struct ChildResult {
    int exitStatus = -1; // -1: ended by a signal
    std::string output;  // standard output
    std::string errors;  // standard error
};

/// Runs the action in a child process, which exits with status 0 when the action returns.
ChildResult runInChild(const std::function<void()>& action);
