#pragma once

#include <string>
#include <vector>

/// Broken contracts are recorded in these tests and do nothing else, as where no crash handler is installed.
/// Each is "<kind>: <condition> <source>:<line>".
std::vector<std::string> takeContractViolations();
