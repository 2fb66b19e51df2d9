#include "Demo.h"
#include "Interruption.h"
#include "VirtualBusProcess.h"
#include "VirtualUsbBus.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <unistd.h>

namespace {

const char HELP[] = "zevo-demo: the launcher at work, told as it happens.\n"
                    "\n"
                    "    zevo-demo            on a virtual USB bus: a modem is plugged in, switched and "
                    "unplugged; about 15 seconds\n"
                    "    zevo-demo --real     on this machine's own USB bus, until Ctrl-C\n"
                    "    zevo-demo --help     this text\n"
                    "\n"
                    "Everything else is made for the run and removed after it: the applications that the "
                    "launcher starts, its\n"
                    "installation folder, its trace and its log. Ctrl-C ends either run. The status is 0 "
                    "unless something that\n"
                    "should have happened did not.\n";

void runOnVirtualBus(char** arguments) {
    Zevo::restartForVirtualBus(arguments);
    Zevo::VirtualUsbBus bus;
    Zevo::Demo().runOn(bus);
}

} // namespace

int main(int argumentCount, char** arguments) {
    const std::string option = argumentCount > 1 ? arguments[1] : "";
    if (option == "--help") {
        std::fputs(HELP, stdout);
        return 0;
    }
    if (argumentCount > 2 || (!option.empty() && option != "--real")) {
        std::fputs(HELP, stderr);
        return 2;
    }
    Zevo::holdInterruptions();
    try {
        if (option == "--real")
            Zevo::Demo().runOnRealBus();
        else
            runOnVirtualBus(arguments);
        return 0;
    } catch (const Zevo::Interrupted&) {
        std::puts("Interrupted; everything is ended and removed.");
        return 0;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "zevo-demo: %s\n", problem.what());
        return 1;
    }
}
