#pragma once

// What goes wrong below the frameworks' calls, and the platform layer's own words about it on standard error. It lies
// below the tracer and the logger, so it can use neither. Each message is one line and one write, so that lines of
// several threads do not mix.

#include <cstddef>

namespace LinuxPlatform {

/// Says something that the user or support should know. Any thread.
void report(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Says that a caller has broken a rule of the interface, and counts it. Any thread.
void complain(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::size_t complaintCount();

/// Whether an errno says that this process or the machine has no descriptor or no memory left: nothing is known then of
/// what was to be looked at.
bool isLackOfMeans(int error);

} // namespace LinuxPlatform
