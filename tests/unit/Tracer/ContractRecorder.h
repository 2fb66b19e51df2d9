#pragma once

#include <string>
#include <vector>

/// Returns and forgets the contract violations so far, each as "<kind>: <condition> <source>:<line>". In
/// these tests a violation is only recorded, and the code continues as it does without a crash handler.
std::vector<std::string> takeContractViolations();
