#pragma once

// The platform layer's own words on standard error. It lies below the tracer and the logger, so it can use
// neither. Each message is one line and one write, so that lines of several threads do not mix.

#include <cstddef>

namespace LinuxPlatform {

/// Says something that the user or support should know. Any thread.
void report(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Says that a caller has broken a rule of the interface, and counts it. Any thread.
void complain(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::size_t complaintCount();

} // namespace LinuxPlatform
