// The works of the tracer and of the logger whose instructions tools/instruction-counts counts: our part of
// the benchmarks with the same names.

#include "InstructionWorks.h"
#include "LogMessage.h"
#include "MarkedWork.h"

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

/// Does not wait until the lines are written: writing is work of the operating system.
template <void (Work::*METHOD)(int)>
void traced(std::int64_t count) {
    Tracing tracing;
    tracing.start();
    callAtDepth<METHOD>(count);
}

const InstructionWorks WORKS = {
    {"log-line", logLines<MSG_LEVEL_0>},      {"log-line-off", logLines<MSG_DEBUG>},
    {"marker-off", untraced<&Work::traced>},  {"marker-on", traced<&Work::traced>},
    {"marker-hidden", traced<&Work::hidden>},
};

} // namespace

int main(int argumentCount, char** arguments) {
    return runInstructionWorks(WORKS, argumentCount, arguments);
}
