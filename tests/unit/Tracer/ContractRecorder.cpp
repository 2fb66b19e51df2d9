#include "ContractRecorder.h"

#include "ContractChecks.h"

#include <mutex>
#include <utility>

namespace {
std::mutex mutex;
std::vector<std::string> violations;
} // namespace

// Replaces the exception handler's definition, which would end the process.
void kf::detail::reportContractViolation(const char* kind, const char* condition, const char* file,
                                         int line) {
    const std::lock_guard<std::mutex> lock(mutex);
    violations.push_back(std::string(kind) + ": " + condition + " " + file + ":" + std::to_string(line));
}

std::vector<std::string> takeContractViolations() {
    const std::lock_guard<std::mutex> lock(mutex);
    return std::exchange(violations, {});
}
