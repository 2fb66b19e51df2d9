#include "CallMarker.h"
#include "LogMessage.h"
#include "Logger.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Tracer.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace {

bool isLong() {
    const char* const form = std::getenv("ZEVO_ATTACK");
    return form != nullptr && std::strcmp(form, "long") == 0;
}

/// The resident memory of this process, in KiB.
long residentMemory() {
    const std::string status = readFile("/proc/self/status");
    return std::atol(status.c_str() + status.find("VmRSS:") + 6);
}

/// A tracer whose ring rotates, and a logger.
class TraceLoad : public testing::Test {
protected:
    TraceLoad() {
        Tracer::SetInstance(&m_tracer);
        m_tracer.SetFolderName(m_folder.path() + "/");
        m_tracer.setMaximumFiles(10);
        m_tracer.setMaximumLinesPerFile(LINES_OF_FILE);
        m_tracer.addToLevelMask(UINT32_MAX);
        m_tracer.TraceTheThread("*");
        m_tracer.TraceTheCall("*");
        m_tracer.SetFileName("trace");
        m_tracer.setEnabled(true);
        Logger::SetInstance(&m_logger);
        m_logger.SetFileName(m_folder / "log");
        m_logger.setEnabled(true);
        m_logger.addToLevelMask(UINT32_MAX);
    }

    static constexpr int LINES_OF_FILE = 10000;
    TemporaryFolder m_folder;
    Tracer m_tracer;
    Logger m_logger;
};

void traceTwoLines(int number) {
    TRACE_FUNCTION("traceTwoLines");
    TRACE_MESSAGE(MSG_DEBUG, "line %d of very many", number);
}

} // namespace

TEST_F(TraceLoad, MillionsOfLinesThroughAThousandRotationsLeaveMemoryFlat) {
    const int lines = isLong() ? 10000000 : 200000;
    long warm = 0;
    for (int line = 0; line < lines; line += 2) {
        traceTwoLines(line);
        if ((line + 2) % LINES_OF_FILE != 0)
            continue;
        m_tracer.WriteOnFile();
        if (line < lines / 10)
            warm = residentMemory();
    }
    const long last = residentMemory();
    m_tracer.FinishTracing();
    EXPECT_LE(last, warm + 256);
    std::printf("FIGURE %d lines, %d files begun: memory %ld KiB after a tenth, %ld KiB at the end\n", lines,
                lines / LINES_OF_FILE, warm, last);
}

TEST_F(TraceLoad, SixtyFourThreadsTraceAndLogAtOnce) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(isLong() ? 60 : 1);
    m_logger.setMaximumLinesPerFile(INT32_MAX); // none is overwritten, so each can be counted
    std::atomic<long> calls{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 64; ++thread)
        threads.emplace_back([&calls, end] {
            for (int call = 0; std::chrono::steady_clock::now() < end; ++call) {
                traceTwoLines(call);
                LOG_MESSAGE(MSG_DEBUG, "line %d", call);
                ++calls;
            }
        });
    while (std::chrono::steady_clock::now() < end) {
        m_tracer.WriteOnFile();
        m_logger.WriteOnFile();
    }
    for (std::thread& thread : threads)
        thread.join();
    m_tracer.FinishTracing();
    m_logger.FinishLogging();
    EXPECT_TRUE(m_logger.areAllMsgFlushed());
    std::ifstream log(m_folder / "log_0.txt");
    EXPECT_EQ(std::count(std::istreambuf_iterator<char>(log), {}, '\n'), calls) << "one line for each call";
    std::printf("FIGURE 64 threads: %ld calls traced and logged\n", calls.load());
}
