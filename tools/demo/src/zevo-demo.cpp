#include "Demo.h"
#include "Interruption.h"
#include "Session.h"
#include "Tool.h"
#include "VirtualBusProcess.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace {

using namespace Zevo;

const char FOOTER[] =
    "Everything else is made for the run and removed after it: the applications that the launcher starts,\n"
    "its installation folder, its trace and its log. Ctrl-C ends either run. The status is 0 unless\n"
    "something that should have happened did not.";

ExitStatus run(const DemoWishes& wishes) {
    holdInterruptions();
    try {
        if (wishes.isOnRealBus) {
            Demo(wishes).runOnRealBus();
        } else {
            Session bus;
            Demo(wishes).runOn(bus);
        }
    } catch (const Interrupted&) {
        std::cout << "Interrupted; everything is ended and removed.\n";
    }
    return FINE;
}

} // namespace

int main(int argumentCount, char** arguments) {
    CLI::App app(
        "The launcher at work, told as it happens: on a virtual USB bus a modem is plugged in, switched and\n"
        "unplugged; about 15 seconds.",
        "zevo-demo");
    app.footer(FOOTER);
    DemoWishes wishes;
    CLI::Option& real =
        *app.add_flag("--real", wishes.isOnRealBus, "On this machine's own USB bus, until Ctrl-C");
    app.add_option("--modem", wishes.modem,
                   "Another modem: its ids, its name or its file, as zevo-sim takes them; the\n"
                   "launcher is configured for it, unless --config is given")
        ->excludes(&real);
    app.add_option("--config", wishes.configuration, "A folder with your own configuration; checked first");
    return runTool(app, argumentCount, arguments, [&] {
        if (!wishes.isOnRealBus)
            restartForVirtualBus(arguments);
        return run(wishes);
    });
}
