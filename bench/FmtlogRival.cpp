#include <cstdint>
#include <string>

// Wait while the queue is full; otherwise fmtlog drops lines.
#define FMTLOG_BLOCK 1
#define FMT_HEADER_ONLY
#include "fmtlog-inl.h"

namespace rivals {

struct Fmtlog {
    static void start(const std::string& path);
    static void line(const char* device, int attempt, int total, double seconds);
    static void off(const char* device, int attempt, int total, double seconds);
    static void flush();
    static void finish();
};

static const std::int64_t POLL_INTERVAL = 1000000; // nanoseconds

void Fmtlog::start(const std::string& path) {
    fmtlog::setLogFile(path.c_str(), true);
    fmtlog::setHeaderPattern("[{HMSe}][{l}] ");
    fmtlog::setLogLevel(fmtlog::INF);
    fmtlog::startPollingThread(POLL_INTERVAL);
}

void Fmtlog::line(const char* device, int attempt, int total, double seconds) {
    logi("device {} arrived, attempt {} of {}, {:.3f} s", device, attempt, total, seconds);
}

void Fmtlog::off(const char* device, int attempt, int total, double seconds) {
    logd("device {} arrived, attempt {} of {}, {:.3f} s", device, attempt, total, seconds);
}

// No other thread may call poll() while the polling thread runs.
void Fmtlog::flush() {
    fmtlog::stopPollingThread();
    fmtlog::poll(true);
    fmtlog::startPollingThread(POLL_INTERVAL);
}

void Fmtlog::finish() {
    fmtlog::stopPollingThread();
    fmtlog::poll(true);
    fmtlog::closeLogFile();
}

} // namespace rivals
