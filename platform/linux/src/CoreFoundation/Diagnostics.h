#pragma once

// The platform layer's messages on standard error, about failures below the frameworks' calls. The layer is
// below the tracer and the logger, so it can use neither. Each message is one line and one write, so that
// lines of several threads do not mix.

#include <cstddef>

namespace LinuxPlatform {

/// Reports something that the user or support should know. Any thread.
void report(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Reports that a caller has broken a rule of the interface, and counts it. Any thread.
void complain(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::size_t complaintCount();

/// Whether an errno means that this process or the machine has no descriptors or no memory left. The call's
/// result is then unknown, not negative.
bool isLackOfMeans(int error);

} // namespace LinuxPlatform
