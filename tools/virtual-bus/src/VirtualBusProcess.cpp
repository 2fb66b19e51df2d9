#include "VirtualBusProcess.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace Zevo {
namespace {

const char PRELOADED_LIBRARY[] = "libumockdev-preload.so.0";
const char RESTARTED[] = "ZEVO_VIRTUAL_BUS_RESTARTED";

/// The path of a library of this process whose file name begins with this text; empty if there is none.
std::string loadedLibrary(const std::string& beginning) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find("/" + beginning) != std::string::npos)
            return line.substr(line.find('/'));
    return std::string();
}

/// The runtime library of the sanitizer that this program was built with, if it is shared: it has to be
/// loaded before any other.
std::string sanitizerRuntime() {
    const std::string runtime = loadedLibrary("libasan.so");
    return runtime.empty() ? loadedLibrary("libtsan.so") : runtime;
}

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

void preload() {
    const std::string sanitizer = sanitizerRuntime();
    std::string libraries = sanitizer.empty() ? "" : sanitizer + ":";
    libraries += PRELOADED_LIBRARY;
    const std::string others = variable("LD_PRELOAD");
    setenv("LD_PRELOAD", (others.empty() ? libraries : libraries + ":" + others).c_str(), 1);
    // A sanitizer in this program calls the preloaded library when it prepares a report file, before that
    // library is ready.
    for (const char* const options : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"})
        if (std::getenv(options))
            setenv(options, (variable(options) + ":log_path=stderr").c_str(), 1);
}

} // namespace

void restartForVirtualBus(char* const* arguments) {
    // The preloaded library takes every file below these folders for one of a device.
    const std::string folder = variable("TMPDIR") + "/";
    if (folder.compare(0, 5, "/dev/") == 0 || folder.compare(0, 5, "/sys/") == 0)
        throw std::runtime_error("a virtual USB bus cannot lie in " + folder.substr(0, 4) +
                                 "; TMPDIR has to name a folder elsewhere");
    if (!loadedLibrary("libumockdev-preload.so").empty()) {
        unsetenv(RESTARTED);
        return;
    }
    if (std::getenv(RESTARTED))
        throw std::runtime_error(
            std::string("a virtual USB bus needs ") + PRELOADED_LIBRARY +
            ", which is not installed; it comes with umockdev: apt-get install umockdev");
    preload();
    setenv(RESTARTED, "1", 1);
    execv("/proc/self/exe", arguments);
    throw std::runtime_error(std::string("this program cannot be started again: ") + std::strerror(errno));
}

} // namespace Zevo
