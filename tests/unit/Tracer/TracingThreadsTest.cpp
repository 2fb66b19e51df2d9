#include "CallMarker.h"
#include "LogMessage.h"
#include "TraceStream.h"
#include "Traced.h"
#include "Tracer.h"

#include <atomic>
#include <regex>
#include <set>
#include <thread>

/// Many threads at once; mainly for the thread sanitizer.
class TracingThreads : public Traced {};

// Not in an unnamed namespace: clang's name of one holds a parenthesis, where the method's name would end.
class Part {
public:
    Part() { TRACE_CONSTRUCTOR("Part"); }
    ~Part() { TRACE_DESTRUCTOR("Part"); }
    void work(int thread, int call) const {
        TRACE_METHOD();
        TRACE_MESSAGE(MSG_DEBUG, "thread %d call %d", thread, call);
        TRACE_STREAM(MSG_ERROR) << "streamed " << call;
        LOG_MESSAGE(MSG_DEBUG, "thread %d call %d", thread, call);
    }
};

namespace {

constexpr int CALLS = 300;

void workALot(int thread) {
    if (Tracer::isActive())
        Tracer::GetInstance()->BeginningOfThread(("worker" + std::to_string(thread)).c_str());
    for (int call = 0; call < CALLS; ++call) {
        const Part part;
        part.work(thread, call);
    }
    if (Tracer::isActive())
        Tracer::GetInstance()->EndOfThread();
}

std::vector<std::thread> startWorkers(int number) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < number; ++thread)
        threads.emplace_back(workALot, thread);
    return threads;
}

} // namespace

TEST_F(TracingThreads, EveryLineOfEveryThreadArrivesWholeAndInOrder) {
    traceEverything();
    m_tracer.setDirectWrite(false);
    m_tracer.setPrintExits(true);
    m_tracer.setPrintTime(true);
    m_tracer.setPrintObjectCountAndAddress(true);
    std::vector<std::thread> threads = startWorkers(4);
    for (std::thread& thread : threads)
        thread.join();
    m_tracer.FinishTracing();

    const std::regex layout("\\[\\d\\d:\\d\\d:\\d\\d-\\d{3}\\]\\[th_-?\\d+ *\\]\\[worker(\\d)        \\]"
                            "\\[[\\d ]{5}\\]\\[[0x a-f\\d]{10}\\] *(\\S[^\\n]*)\\n");
    const std::regex message(">> \\[D\\] thread (\\d) call (\\d+)");
    std::vector<int> next(4, 0);
    std::size_t lineCount = 0;
    for (const std::string& line : linesOf(file())) {
        std::smatch parts;
        ASSERT_TRUE(std::regex_match(line, parts, layout)) << line;
        ++lineCount;
        const std::string body = parts[2];
        std::smatch words;
        if (std::regex_match(body, words, message)) {
            EXPECT_EQ(words[1], parts[1]);
            EXPECT_EQ(std::stoi(words[2]), next[static_cast<std::size_t>(std::stoi(words[1]))]++);
        }
    }
    EXPECT_EQ(lineCount, 4U * CALLS * 8U);
    EXPECT_EQ(next, std::vector<int>(4, CALLS));
}

TEST_F(TracingThreads, StacksAndCountsMayBePrintedWhileOthersWork) {
    traceEverything();
    m_tracer.setDirectWrite(false);
    m_tracer.setMaximumLinesPerFile(500);
    Logger logger;
    Logger::SetInstance(&logger);
    logger.SetFileName(m_folder / "log");
    logger.setEnabled(true);
    logger.addToLevelMask(MSG_DEBUG);
    std::atomic<bool> done{false};
    std::thread observer([&] {
        for (int round = 0; !done; ++round) {
            m_tracer.PrintStacks();
            m_tracer.PrintAllObjectsCount();
            m_tracer.WriteOnFile();
            logger.WriteOnFile();
            m_tracer.setPrintTime(round % 2 == 0);
            m_tracer.setPrintExits(round % 3 == 0);
            m_tracer.TraceTheCall(round % 2 == 0 ? "-nothing" : "-none");
            logger.setPrintTime(round % 2 == 0);
        }
    });
    std::vector<std::thread> threads = startWorkers(3);
    for (std::thread& thread : threads)
        thread.join();
    done = true;
    observer.join();
    m_tracer.FinishTracing();
    logger.FinishLogging();
    EXPECT_EQ(ring().waiting(), 0U);
    EXPECT_TRUE(logger.areAllMsgFlushed());
}

TEST_F(TracingThreads, TracerMayBeSwitchedWhileOthersWork) {
    traceEverything();
    m_tracer.setDirectWrite(false);
    std::atomic<bool> done{false};
    std::thread observer([&] {
        for (bool on = false; !done; on = !on)
            m_tracer.setEnabled(on);
    });
    std::vector<std::thread> threads = startWorkers(3);
    for (std::thread& thread : threads)
        thread.join();
    done = true;
    observer.join();
    m_tracer.FinishTracing();
    EXPECT_EQ(ring().waiting(), 0U);
}
