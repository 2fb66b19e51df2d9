// How a clock that is set back affects the log. The program replaces gettimeofday with its own.

#include "Logged.h"
#include "Substitute.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdio>
#include <ctime>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/time.h>
#include <thread>
#include <vector>

namespace {

std::atomic<int> secondsAhead{0};

int secondOfDay(const std::string& line) {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    EXPECT_EQ(std::sscanf(line.c_str(), "[%02d:%02d:%02d-", &hours, &minutes, &seconds), 3) << line;
    return (hours * 60 + minutes) * 60 + seconds;
}

int secondOfMachinesDay() {
    const std::time_t now = std::time(nullptr);
    std::tm local;
    localtime_r(&now, &local);
    return (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
}

} // namespace

SUBSTITUTE(int, gettimeofday, (timeval * now, void* zone)) {
    const int result = ORIGINAL(gettimeofday)(now, zone);
    now->tv_sec += secondsAhead;
    return result;
}

class LogWhoseClockIsSetBack : public Logged {
protected:
    LogWhoseClockIsSetBack() {
        m_logger.SetFileName("log");
        m_logger.setMaximumLinesPerFile(INT_MAX);
        m_logger.setPrintTime(true);
        secondsAhead = 3600;
        logUntilAheadBy(1);
    }
    ~LogWhoseClockIsSetBack() override { secondsAhead = 0; }

    /// Logs until a line's stamp is so many hours ahead of the machine's clock.
    void logUntilAheadBy(int hours) {
        int ahead = -1;
        while (ahead != hours) {
            m_logger.PrintMsg(MSG_ERROR, "x");
            m_logger.WriteOnFile();
            constexpr int day = 24 * 60 * 60;
            ahead = (secondOfDay(lastLine()) - secondOfMachinesDay() + day + 1800) % day / 3600;
        }
    }
    std::string lastLine() const {
        std::istringstream lines(log());
        std::string last;
        for (std::string line; std::getline(lines, line);)
            last = line;
        return last;
    }
};

TEST_F(LogWhoseClockIsSetBack, GoesOnWithTheClocksTime) {
    secondsAhead = 0;
    logUntilAheadBy(0);
    for (int line = 0; line < 1000; ++line)
        m_logger.PrintMsg(MSG_ERROR, "%d", line);
    m_logger.FinishLogging();
    EXPECT_EQ(lastLine().substr(14), "[ERROR  ] 999");
}

TEST_F(LogWhoseClockIsSetBack, IsWhollyThereFromEveryThread) {
    constexpr int THREADS = 4;
    constexpr int LINES = 20000;
    const std::string before = log();
    const auto linesBefore = static_cast<int>(std::count(before.begin(), before.end(), '\n'));
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; ++thread) {
        threads.emplace_back([this] {
            for (int line = 0; line < LINES; ++line) {
                m_logger.PrintMsg(MSG_ERROR, "x");
                if (line == LINES / 2)
                    secondsAhead = 0;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    m_logger.FinishLogging();
    std::istringstream lines(log());
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        ASSERT_EQ(line.substr(14), "[ERROR  ] x");
    EXPECT_EQ(count, linesBefore + THREADS * LINES);
}
