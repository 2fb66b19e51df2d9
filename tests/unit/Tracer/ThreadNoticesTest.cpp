#include "detail/ThreadNotices.h"
#include "CallMarker.h"
#include "KFThread.h"
#include "Traced.h"
#include "Tracer.h"

#include <gmock/gmock.h>

using namespace kf::detail;

class ThreadNotices : public Traced {};

namespace {

class Worker : public KFThread {
public:
    explicit Worker(const char* name) : KFThread(name) {}
    ~Worker() override { stop(); }

protected:
    void run() override { TRACE_FUNCTION("work"); }
};

} // namespace

TEST_F(ThreadNotices, NamedThreadIsTracedUnderItsName) {
    traceEverything();
    {
        Worker worker("BlueWorker");
        worker.start();
    }
    EXPECT_NE(file().find("[BlueWorker     ]work\n"), std::string::npos) << file();
}

TEST_F(ThreadNotices, NamelessThreadIsTracedUnderItsId) {
    traceEverything();
    {
        Worker worker(nullptr);
        worker.start();
    }
    EXPECT_NE(file().find("][th_"), std::string::npos) << file();
}

TEST_F(ThreadNotices, EndIsAnnounced) {
    traceEverything();
    announceThreadBegin("first");
    announceThreadEnd();
    announceThreadBegin("second");
    { TRACE_FUNCTION("a"); }
    EXPECT_NE(file().find("[second         ]a\n"), std::string::npos) << file();
}

TEST_F(ThreadNotices, NothingHappensWhileTheTracerIsDisabled) {
    traceEverything();
    m_tracer.setEnabled(false);
    announceThreadBegin("while disabled");
    m_tracer.setEnabled(true);
    { TRACE_FUNCTION("a"); }
    EXPECT_EQ(file().find("while disabled"), std::string::npos) << file();
}

TEST_F(ThreadNotices, EndIsNotAnnouncedOnceTheTracerIsDisabled) {
    traceEverything();
    announceThreadBegin("first");
    m_tracer.setEnabled(false);
    announceThreadEnd();
    m_tracer.setEnabled(true);
    announceThreadBegin("second");
    { TRACE_FUNCTION("a"); }
    EXPECT_NE(file().find("[first          ]a\n"), std::string::npos) << file();
}

TEST_F(ThreadNotices, NothingHappensWithoutATracer) {
    Tracer* const none = nullptr;
    Tracer::SetInstance(none);
    EXPECT_EQ(takeContractViolations().size(), 2U);
    announceThreadBegin("nobody listens");
    announceThreadEnd();
}
