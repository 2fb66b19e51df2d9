// What tools/instruction-counts runs of the tracer and of the logger: their own work of the benchmarks that
// have the same names.
//
//     bench_instructions_tracing --list
//     bench_instructions_tracing WORK COUNT

#include "LogMessage.h"
#include "MarkedWork.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace {

template <int TYPE>
void logLines(std::int64_t count) {
    const TemporaryFolder folder;
    Logger logger;
    Logger::SetInstance(&logger);
    logger.setEnabled(true);
    logger.setPrintTime(true);
    logger.addToLevelMask(MSG_LEVEL_0);
    logger.SetFileName(folder / "log");
    const char* const device = "USB#Vid_12d1&Pid_1001";
    for (std::int64_t attempt = 0; attempt < count; ++attempt)
        LOG_MESSAGE(static_cast<LoggerMsgType>(TYPE), "device %s arrived, attempt %d of %d, %.3f s", device,
                    static_cast<int>(attempt), 10, 1.234);
}

template <void (Work::*METHOD)(int)>
void untraced(std::int64_t count) {
    Work work;
    for (std::int64_t call = 0; call < count; ++call)
        (work.*METHOD)(1);
}

/// The lines wait: writing them is the system's work.
template <void (Work::*METHOD)(int)>
void traced(std::int64_t count) {
    Tracing tracing;
    tracing.start();
    callAtDepth<METHOD>(count);
}

const std::map<std::string, void (*)(std::int64_t count)> WORKS = {
    {"log-line", logLines<MSG_LEVEL_0>},      {"log-line-off", logLines<MSG_DEBUG>},
    {"marker-off", untraced<&Work::traced>},  {"marker-on", traced<&Work::traced>},
    {"marker-hidden", traced<&Work::hidden>},
};

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount == 2 && std::string(arguments[1]) == "--list") {
        for (const auto& work : WORKS)
            std::printf("%s\n", work.first.c_str());
        return 0;
    }
    const auto work = argumentCount == 3 ? WORKS.find(arguments[1]) : WORKS.end();
    if (work == WORKS.end()) {
        std::fprintf(stderr, "usage: bench_instructions_tracing --list | WORK COUNT\n");
        return 2;
    }
    work->second(std::atoll(arguments[2]));
    return 0;
}
