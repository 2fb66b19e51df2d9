// Counts the lines of files on a thread of its own, and traces and logs what it does.
//
//     example_tracing FOLDER FILE...
//
// FOLDER contains trace.cfg and log.cfg, which decide what is written. Trace and log go to
// "Ferrow/ExampleTracing/Logs" in the user's application data; docs/tracing-your-program.md describes how to
// read them. The exit status is 1 if a file could not be read.

#include "AppData.h"
#include "CallMarker.h"
#include "ContractChecks.h"
#include "FileSystemManagement.h"
#include "KFException.h"
#include "KFExceptionHandler.h"
#include "KFThread.h"
#include "LogMessage.h"
#include "Logger.h"
#include "MessageType.h"
#include "Tracer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

// The name of this file in the reports of its checks. It does not change when the file moves.
static const char KF_SOURCE[] = "examples/tracing/tracing";

// Traced classes are not in an unnamed namespace, for which each compiler would trace a different name.

/// One file whose lines are counted.
class CountedFile {
public:
    explicit CountedFile(std::string path) : m_path(std::move(path)) {
        TRACE_CONSTRUCTOR("CountedFile");
        KF_REQUIRE(!m_path.empty(), 40);
    }
    ~CountedFile() { TRACE_DESTRUCTOR("CountedFile"); }
    CountedFile(const CountedFile&) = delete;
    CountedFile& operator=(const CountedFile&) = delete;

    /// @throws KFException if the file cannot be read
    long countLines() const {
        TRACE_METHOD();
        std::ifstream file(m_path);
        if (!file) {
            TRACE_MESSAGE(MSG_ERROR, "cannot open %s", m_path.c_str());
            throw KFException(("cannot open " + m_path).c_str(), KF_SOURCE, 54);
        }
        const std::istreambuf_iterator<char> begin(file);
        const long lines = std::count(begin, std::istreambuf_iterator<char>(), '\n');
        TRACE_MESSAGE(MSG_DEBUG, "%s has %ld lines", m_path.c_str(), lines);
        return lines;
    }

private:
    std::string m_path;
};

/// The thread. The trace shows its name, and TRACE_THE_THREAD selects it by that name.
class Counter : public KFThread {
public:
    explicit Counter(std::vector<std::string> paths) : KFThread("Counter"), m_paths(std::move(paths)) {}
    /// Waits until run() has returned, because it uses the members of this class.
    ~Counter() override { stop(); }

    /// Call it after run() has returned.
    bool isComplete() const { return m_isComplete; }

protected:
    void run() override {
        TRACE_METHOD();
        for (const std::string& path : m_paths)
            count(path);
    }

private:
    void count(const std::string& path) {
        TRACE_METHOD();
        // No exception may leave run(). A call that an exception leaves gets its exit line, too.
        try {
            const long lines = CountedFile(path).countLines();
            printf("%ld %s\n", lines, path.c_str());
            fflush(stdout); // so that the lines stay in order with those on standard error
            LOG_MESSAGE(MSG_LEVEL_0, "counted %s: %ld lines", path.c_str(), lines);
        } catch (const KFException& problem) {
            LOG_MESSAGE(MSG_ERROR, "%s", problem.what());
            fprintf(stderr, "%s\n", problem.what());
            m_isComplete = false;
        }
    }

    std::vector<std::string> m_paths;
    bool m_isComplete = true;
};

namespace {

// The tracer and the logger live to the end of the process: any thread may trace and log until then.
void startTraceAndLog(const std::string& configuration) {
    AppData::setGlobalScope("ExampleTracing");
    const std::string folder = AppData("Logs").getPathForFile("Logs");
    FileSystemManagement::createFolder(folder);

    Tracer* const tracer = std::make_unique<Tracer>().release();
    Tracer::SetInstance(tracer);
    tracer->SetFolderName(folder);
    tracer->ReadConfigFile((configuration + "/trace.cfg").c_str());
    // Before this thread's first traced call: that one would be shown under a number, for good.
    if (Tracer::isActive())
        tracer->BeginningOfThread("MAIN");

    Logger* const logger = std::make_unique<Logger>().release();
    Logger::SetInstance(logger);
    logger->SetFolderName(folder);
    logger->ReadConfigFile((configuration + "/log.cfg").c_str());

    // From here on every signal writes a report to the trace and ends the process with status 0, even the
    // signal that a child has ended. Do not do this in a program that starts others and waits for them.
    KFExceptionHandler::GetInstance();
}

// Lines wait in memory for up to a second, and the end of the process does not write them.
void finishTraceAndLog() {
    if (Tracer::isActive()) {
        Tracer::GetInstance()->EndOfThread();
        Tracer::GetInstance()->FinishTracing();
    }
    if (Logger::GetInstance() != nullptr && Logger::GetInstance()->isEnabled())
        Logger::GetInstance()->FinishLogging();
}

bool countOnAThread(const std::vector<std::string>& paths) {
    TRACE_FUNCTION("countOnAThread");
    Counter counter(paths);
    if (!counter.start()) {
        TRACE_MESSAGE(MSG_ERROR, "the thread could not be started");
        return false;
    }
    KFThread::waitForThreadTermination(&counter);
    return counter.isComplete();
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        fprintf(stderr, "usage: example_tracing FOLDER FILE...\n"
                        "FOLDER holds trace.cfg and log.cfg.\n");
        return 2;
    }
    startTraceAndLog(argv[1]);
    const bool isComplete = countOnAThread(std::vector<std::string>(argv + 2, argv + argc));
    finishTraceAndLog();
    return isComplete ? EXIT_SUCCESS : EXIT_FAILURE;
}
