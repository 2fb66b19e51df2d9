// Compiled for both hosts: the program is the same on both.

#include "CallMarker.h"
#include "KFExceptionHandler.h"
#include "Logger.h"
#include "MessageType.h"
#include "StartUp.h"
#include "Tracer.h"
#include "ZevoLauncher.h"

static const char RULE[] = "-----------------------------------------------";

namespace {

bool isLogging() {
    return Logger::GetInstance() != nullptr && Logger::GetInstance()->isEnabled();
}

} // namespace

int main() {
    openStandardFiles();
    initTracesAndLogs();
    KFExceptionHandler::GetInstance();
    if (Tracer::isActive())
        Tracer::GetInstance()->BeginningOfThread("MAIN");

    TRACE_FUNCTION("ZevoLauncher::Main");
    TRACE_MESSAGE(MSG_DEBUG, "%s", RULE);
    TRACE_MESSAGE(MSG_DEBUG, "\t\t\tLaunching ZevoLauncher");
    TRACE_MESSAGE(MSG_DEBUG, "%s", RULE);

    ZevoLauncher launcher;
    launcher.init();
    launcher.run();

    if (Tracer::isActive())
        Tracer::GetInstance()->EndOfThread();
    if (Tracer::isActive())
        Tracer::GetInstance()->FinishTracing();
    if (isLogging())
        Logger::GetInstance()->FinishLogging();
    return 0;
}
