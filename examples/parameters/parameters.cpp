// Keeps a component's settings: one text and one block of bytes for the user, one default for the machine.
//
//     parameters                            shows what is stored, then counts this run
//     parameters TRACER_FILE LOGGER_FILE    traces and logs meanwhile, as these two configuration files say
//
// The data is below "Ferrow/ExampleProduct" in the application-data folders, as docs/parameters.md describes;
// traces and logs are in the folder "Logs" beside it.

#include "AppData.h"
#include "CallMarker.h"
#include "FileSystemManagement.h"
#include "LogMessage.h"
#include "Logger.h"
#include "MessageType.h"
#include "Tracer.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

/// What a component may keep as raw bytes: a plain record of its own.
struct WindowPlace {
    int left;
    int top;
};

// The tracer and the logger live to the end of the process: any thread may trace and log until then.
void startTraceAndLog(const char* tracerFile, const char* loggerFile) {
    const std::string folder = AppData("Logs").getPathForFile("Logs");
    FileSystemManagement::createFolder(folder);

    Tracer* const tracer = std::make_unique<Tracer>().release();
    Tracer::SetInstance(tracer);
    tracer->SetFolderName(folder);
    tracer->ReadConfigFile(tracerFile);
    if (Tracer::isActive())
        tracer->BeginningOfThread("MAIN");

    Logger* const logger = std::make_unique<Logger>().release();
    Logger::SetInstance(logger);
    logger->SetFolderName(folder);
    logger->ReadConfigFile(loggerFile);
}

int countRun(AppData& settings) {
    TRACE_FUNCTION("countRun");
    std::string runs = "0";
    settings.readParam("runs", runs);
    const int count = atoi(runs.c_str()) + 1;
    TRACE_MESSAGE(MSG_DEBUG, "run %d", count);
    if (!settings.writeParam("runs", std::to_string(count))) {
        fprintf(stderr, "the number of runs could not be stored; the trace says why\n");
        return -1;
    }
    return count;
}

WindowPlace readPlace(const AppData& settings) {
    TRACE_FUNCTION("readPlace");
    WindowPlace place = {40, 40};
    int size = 0;
    const std::unique_ptr<char[]> bytes(settings.readUnformattedParam("window", size));
    if (bytes != nullptr && size == sizeof(place))
        memcpy(&place, bytes.get(), sizeof(place));
    return place;
}

bool showAndCount() {
    TRACE_FUNCTION("showAndCount");
    AppData settings("Settings");

    // The user's value takes precedence over the machine's, which an installer would write.
    std::string greeting = "Hello";
    settings.readParam("greeting", greeting);

    const int run = countRun(settings);
    WindowPlace place = readPlace(settings);
    printf("%s, run %d, window at %d,%d\n", greeting.c_str(), run, place.left, place.top);

    place.left += 10;
    const bool kept =
        settings.writeUnformattedParam("window", reinterpret_cast<const char*>(&place), sizeof(place));
    LOG_MESSAGE(MSG_LEVEL_0, "Run %d has %s", run, run > 0 && kept ? "ended well" : "failed");
    return run > 0 && kept;
}

} // namespace

int main(int argc, char** argv) {
    AppData::setGlobalScope("ExampleProduct");
    if (argc == 3)
        startTraceAndLog(argv[1], argv[2]);

    const bool isDone = showAndCount();

    // Lines wait in memory for up to a second, and the end of the process does not write them. A program that
    // returns from main, or calls exit(), without these two calls loses the lines that wait.
    if (Tracer::isActive())
        Tracer::GetInstance()->FinishTracing();
    if (Logger::GetInstance() != nullptr && Logger::GetInstance()->isEnabled())
        Logger::GetInstance()->FinishLogging();
    return isDone ? EXIT_SUCCESS : EXIT_FAILURE;
}
