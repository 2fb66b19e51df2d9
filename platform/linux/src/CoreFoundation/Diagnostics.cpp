#include "Diagnostics.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <unistd.h>

namespace LinuxPlatform {
namespace {

std::atomic<std::size_t> complaints{0};

__attribute__((format(printf, 1, 0))) void print(const char* format, va_list arguments) {
    char line[512];
    const int needed = std::vsnprintf(line, sizeof(line) - 1, format, arguments);
    if (needed < 0)
        return;
    std::size_t length = std::min(static_cast<std::size_t>(needed), sizeof(line) - 2);
    line[length++] = '\n';
    // If standard error cannot be written to, there is nowhere to report it.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, length);
}

} // namespace

void report(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    print(format, arguments);
    va_end(arguments);
}

void complain(const char* format, ...) {
    complaints.fetch_add(1, std::memory_order_relaxed);
    va_list arguments;
    va_start(arguments, format);
    print(format, arguments);
    va_end(arguments);
}

bool isLackOfMeans(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

std::size_t complaintCount() {
    return complaints.load(std::memory_order_relaxed);
}

} // namespace LinuxPlatform
