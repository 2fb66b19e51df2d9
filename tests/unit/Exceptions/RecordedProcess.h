#pragma once

#include "CallMarker.h"
#include "KFExceptionHandler.h"
#include "LogMessage.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Tracer.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <functional>
#include <gmock/gmock.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

/// Shortens the time that the handler grants the process's exit functions, which may hang on malloc's lock.
class ImpatientHandler : public KFExceptionHandler {
public:
    static void setEndLimit(int milliseconds) { ms_endLimit = milliseconds; }
};

/// The content of all files of a ring, in the order of their numbers.
inline std::string contentOfRing(const TemporaryFolder& folder, const std::string& name) {
    std::string content;
    for (int index = 0;; ++index) {
        const std::string path = folder / (name + "_" + std::to_string(index) + ".txt");
        if (access(path.c_str(), F_OK) != 0)
            return content;
        content += readFile(path);
    }
}

/// A process with a tracer and a logger as in the field, and the record that it leaves.
class RecordedProcess {
public:
    /// Starts the child. It starts tracer, logger and crash handler, then runs the body in the traced call
    /// "outermost" of its main thread. When the body returns, the child waits for a signal.
    explicit RecordedProcess(const std::function<void(const TemporaryFolder&)>& body,
                             int maximumLines = 100000) {
        int ready[2];
        if (pipe(ready) != 0)
            throw std::runtime_error("no pipe");
        std::fflush(nullptr);
        m_pid = fork();
        if (m_pid == 0) {
            close(ready[0]);
            if (std::freopen((m_folder / "errors").c_str(), "w", stderr) == nullptr)
                _exit(127);
            m_ready = ready[1];
            start(maximumLines);
            TRACE_FUNCTION("outermost");
            TRACE_MESSAGE(MSG_DEBUG, "traced");
            LOG_MESSAGE(MSG_ERROR, "logged");
            body(m_folder);
            tellReady();
            for (;;)
                pause();
        }
        close(ready[1]);
        char told = 0;
        m_isReady = read(ready[0], &told, 1) == 1;
        close(ready[0]);
    }

    /// A body that does not return must call this.
    static void tellReady() {
        if (write(m_ready, "r", 1) != 1)
            _exit(126);
    }

    void send(int sig) const { kill(m_pid, sig); }

    /// Waits for the end.
    void end() {
        const auto begin = std::chrono::steady_clock::now();
        waitpid(m_pid, &m_status, 0);
        m_seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    }

    std::string trace() const { return contentOfRing(m_folder, "trace"); }
    std::string log() const { return contentOfRing(m_folder, "log"); }

    /// Waits for the end of the process, and expects a whole record: what was traced and logged before, the
    /// cause, the stacks, the counts.
    void expectWholeRecord(const std::string& cause = "SIGNAL_|UNKNOWN SIGNAL") {
        end();
        EXPECT_TRUE(WIFEXITED(m_status) && WEXITSTATUS(m_status) == 0) << m_status;
        const std::string whole = trace();
        EXPECT_THAT(whole, testing::HasSubstr(">> [D] traced\n"));
        EXPECT_THAT(whole, testing::ContainsRegex("SIGNAL_FILTER\n.*>> \\[E\\] (" + cause + ")"));
        EXPECT_THAT(whole, testing::HasSubstr("-------------- CALLSTACK --------------\n"));
        EXPECT_THAT(whole, testing::HasSubstr("[1] outermost\n"));
        EXPECT_THAT(whole, testing::ContainsRegex("OBJECT\\(S\\) COUNT --------------\n"
                                                  "(.*\n)*---------------------------------------------\n"));
        EXPECT_THAT(log(), testing::HasSubstr("[ERROR  ] logged\n"));
        EXPECT_THAT(readFile(m_folder / "errors"), testing::Not(testing::HasSubstr("can't open")));
        EXPECT_LT(m_seconds, 9);
    }

private:
    void start(int maximumLines) {
        writeFile(m_folder / "tracer.cfg",
                  "TRACE_ON\nTRACE_CLOCK\nTRACE_THE_THREAD *\nTRACE_THE_CALL *\nTRACE_SET_MAX_FILES 100\n"
                  "TRACE_SET_MSG_FILTER TRACE_DEBUG TRACE_ERROR\nTRACE_SET_MAX_LINES " +
                      std::to_string(maximumLines) + "\nTRACE_SET_FILE_NAME trace\n");
        writeFile(m_folder / "logger.cfg",
                  "LOG_ON\nLOG_CLOCK\nLOG_SET_MSG_FILTER LOG_ERROR\nLOG_SET_FILE_NAME log\n");
        Tracer* const tracer = new Tracer; // like the launcher's, never destroyed
        Tracer::SetInstance(tracer);
        tracer->SetFolderName(m_folder.path() + "/");
        tracer->ReadConfigFile((m_folder / "tracer.cfg").c_str());
        Logger* const logger = new Logger;
        Logger::SetInstance(logger);
        logger->SetFolderName(m_folder.path() + "/");
        logger->ReadConfigFile((m_folder / "logger.cfg").c_str());
        KFExceptionHandler::GetInstance();
        ImpatientHandler::setEndLimit(100);
        tracer->BeginningOfThread("MAIN");
    }

    TemporaryFolder m_folder;
    static inline int m_ready = -1;
    pid_t m_pid = -1;
    bool m_isReady = false;
    int m_status = 0;
    double m_seconds = 0;
};

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int ROUNDS = 5;
#else
constexpr int ROUNDS = 25; // use --gtest_repeat for more
#endif

/// Runs many rounds; stops at the first that fails.
inline void expectWholeRecords(const std::function<void(int round)>& round) {
    for (int number = 0; number < ROUNDS; ++number) {
        round(number);
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "in round " << number;
            return;
        }
    }
}

/// Waits for a time that differs from round to round, so that signals come at different moments.
inline void letPass(int round) {
    std::this_thread::sleep_for(std::chrono::microseconds(round * 37 % 2000));
}
