#include "Tracer.h"
#include "CallMarker.h"
#include "ChildProcess.h"
#include "Traced.h"
#include "detail/ThreadId.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <gmock/gmock.h>
#include <thread>

using namespace kf::detail;

using testing::ElementsAre;

namespace {
const char* const TRACER_POSITION = " product/Infrastructure/ProgrammingServices/Tracer/src/Tracer:";
} // namespace

class TracerCore : public Traced {};

// ---- the instance

TEST_F(TracerCore, InstanceIsTheOneThatWasSet) {
    EXPECT_EQ(Tracer::GetInstance(), &m_tracer);
    Tracer other;
    Tracer::SetInstance(&other);
    EXPECT_EQ(Tracer::GetInstance(), &other);
}

TEST_F(TracerCore, SettingANullInstanceBreaksBothContractsAndStoresIt) {
    Tracer* const none = nullptr;
    Tracer::SetInstance(none);
    EXPECT_EQ(Tracer::GetInstance(), nullptr);
    EXPECT_THAT(takeContractViolations(),
                ElementsAre(std::string("REQUIRE VIOLATION: pTheTracer != NULL") + TRACER_POSITION + "106",
                            std::string("ENSURE VIOLATION: m_Instance != NULL") + TRACER_POSITION + "108"));
}

TEST_F(TracerCore, DestroyedTracerIsNoLongerTheInstance) {
    {
        Tracer other;
        Tracer::SetInstance(&other);
    }
    EXPECT_EQ(Tracer::GetInstance(), nullptr);
}

TEST_F(TracerCore, DestroyedTracerLeavesAnotherInstanceAlone) {
    { Tracer other; }
    EXPECT_EQ(Tracer::GetInstance(), &m_tracer);
}

TEST_F(TracerCore, BeginsDisabledWithEmptyFiltersAndDefaults) {
    EXPECT_FALSE(m_tracer.isEnabled());
    EXPECT_FALSE(Tracer::isActive());
    EXPECT_EQ(m_tracer.getLevelMask(), 0U);
    EXPECT_FALSE(m_tracer.hasBarIndentation());
    EXPECT_FALSE(m_tracer.indentsHiddenCalls());
    EXPECT_FALSE(m_tracer.printsExits());
    EXPECT_FALSE(m_tracer.printsTime());
    EXPECT_FALSE(m_tracer.printsObjectCountAndAddress());
    EXPECT_EQ(ring().getMaximumFiles(), 10);
    EXPECT_EQ(ring().getMaximumLinesPerFile(), 100000);
    EXPECT_EQ(ring().getBaseFileName(), "");
    EXPECT_EQ(ring().getCurrentFileName(), "");
}

TEST_F(TracerCore, DisabledTracerAnswersWithoutItsLock) {
    const KFLock lock(m_tracer.getLock());
    bool enabled = true;
    std::thread([&] { enabled = Tracer::isActive(); }).join();
    EXPECT_FALSE(enabled);
}

// ---- filters

TEST_F(TracerCore, NothingIsPermittedUnlessItIsNamed) {
    EXPECT_FALSE(m_tracer.isThreadPermittedToPrint("MAIN"));
    EXPECT_FALSE(m_tracer.isCallPermittedToPrint("a"));
    EXPECT_FALSE(m_tracer.isCallForbiddenToPrint("a"));
}

TEST_F(TracerCore, AnyOfThePatternsPermits) {
    m_tracer.TraceTheThread("MAIN");
    m_tracer.TraceTheThread("*Worker");
    EXPECT_TRUE(m_tracer.isThreadPermittedToPrint("MAIN"));
    EXPECT_TRUE(m_tracer.isThreadPermittedToPrint("MainWorker"));
    EXPECT_FALSE(m_tracer.isThreadPermittedToPrint("WorkerWorker"));
    EXPECT_FALSE(m_tracer.isCallPermittedToPrint("MAIN"));
}

TEST_F(TracerCore, LeadingMinusForbidsAndPermitsNothing) {
    m_tracer.TraceTheCall("-ZevoLauncher::*");
    EXPECT_TRUE(m_tracer.isCallForbiddenToPrint("ZevoLauncher::init"));
    EXPECT_FALSE(m_tracer.isCallForbiddenToPrint("Dictionary::init"));
    EXPECT_FALSE(m_tracer.isCallPermittedToPrint("ZevoLauncher::init"));
    EXPECT_FALSE(m_tracer.isCallPermittedToPrint("-ZevoLauncher::init"));
}

TEST_F(TracerCore, ForbiddenPatternsHaveAllStarForms) {
    m_tracer.TraceTheCall("-*::end");
    m_tracer.TraceTheCall("-plain");
    m_tracer.TraceTheCall("-*Item*");
    EXPECT_TRUE(m_tracer.isCallForbiddenToPrint("A::end"));
    EXPECT_TRUE(m_tracer.isCallForbiddenToPrint("plain"));
    EXPECT_FALSE(m_tracer.isCallForbiddenToPrint("plainer"));
    EXPECT_TRUE(m_tracer.isCallForbiddenToPrint("BasicItem::get"));
    EXPECT_FALSE(m_tracer.isCallForbiddenToPrint("Basic::get"));
}

TEST_F(TracerCore, LoneMinusForbidsNothing) {
    m_tracer.TraceTheCall("-");
    EXPECT_FALSE(m_tracer.isCallForbiddenToPrint(""));
    EXPECT_FALSE(m_tracer.isCallForbiddenToPrint("-"));
}

TEST_F(TracerCore, MinusAndStarForbidsEverything) {
    m_tracer.TraceTheCall("-*");
    EXPECT_TRUE(m_tracer.isCallForbiddenToPrint("anything"));
}

TEST_F(TracerCore, ForbiddenCallIsHiddenAlthoughPermitted) {
    traceEverything();
    m_tracer.TraceTheCall("-a");
    { TRACE_FUNCTION("a"); }
    { TRACE_FUNCTION("b"); }
    EXPECT_THAT(lines(), ElementsAre("b\n"));
}

TEST_F(TracerCore, EmptyAndNullPatternsBreakTheContract) {
    m_tracer.TraceTheThread("");
    m_tracer.TraceTheCall("");
    EXPECT_THAT(
        takeContractViolations(),
        ElementsAre(std::string("REQUIRE VIOLATION: !strThreadName.empty()") + TRACER_POSITION + "162",
                    std::string("REQUIRE VIOLATION: !strClassName.empty()") + TRACER_POSITION + "143"));
    m_tracer.TraceTheThread(nullptr);
    m_tracer.TraceTheCall(nullptr);
    EXPECT_THAT(
        takeContractViolations(),
        ElementsAre(std::string("REQUIRE VIOLATION: threadName != NULL") + TRACER_POSITION + "160",
                    std::string("REQUIRE VIOLATION: !strThreadName.empty()") + TRACER_POSITION + "162",
                    std::string("REQUIRE VIOLATION: className != NULL") + TRACER_POSITION + "140",
                    std::string("REQUIRE VIOLATION: !strClassName.empty()") + TRACER_POSITION + "143"));
}

// ---- threads

TEST_F(TracerCore, UnnamedThreadIsRegisteredUnderItsIdByItsFirstCall) {
    traceEverything();
    std::string expected;
    std::thread([&] {
        char columns[128];
        const int id = static_cast<int>(currentThreadNumber());
        std::snprintf(columns, sizeof columns, "[th_%-5d][%-15s]a\n", id,
                      ("th_" + std::to_string(id)).c_str());
        expected = columns;
        TRACE_FUNCTION("a");
    }).join();
    EXPECT_EQ(file(), expected);
}

TEST_F(TracerCore, UnnamedThreadIsNotTracedWhenItsIdIsNotPermitted) {
    m_tracer.setEnabled(true);
    m_tracer.setDirectWrite(true);
    m_tracer.SetFileName("trace");
    m_tracer.TraceTheCall("*");
    m_tracer.TraceTheThread("MAIN");
    {
        const CallMarker first("before it has a name");
        const CallMarker second("again");
    }
    EXPECT_EQ(file(), "(none)");
    m_tracer.BeginningOfThread("MAIN");
    { TRACE_FUNCTION("a"); }
    EXPECT_THAT(lines(), ElementsAre("a\n"));
}

TEST_F(TracerCore, NothingIsTracedWithoutAThreadPattern) {
    m_tracer.setEnabled(true);
    m_tracer.setDirectWrite(true);
    m_tracer.SetFileName("trace");
    m_tracer.TraceTheCall("*");
    m_tracer.BeginningOfThread("MAIN");
    { TRACE_FUNCTION("a"); }
    EXPECT_EQ(file(), "(none)");
}

TEST_F(TracerCore, ThreadKeepsItsFirstName) {
    traceEverything();
    m_tracer.BeginningOfThread("first");
    m_tracer.BeginningOfThread("second");
    { TRACE_FUNCTION("a"); }
    EXPECT_NE(file().find("[first          ]a\n"), std::string::npos) << file();
}

TEST_F(TracerCore, ThreadMayBeginAgainAfterItsEnd) {
    traceEverything();
    m_tracer.BeginningOfThread("first");
    m_tracer.EndOfThread();
    m_tracer.BeginningOfThread("second");
    { TRACE_FUNCTION("a"); }
    EXPECT_NE(file().find("[second         ]a\n"), std::string::npos) << file();
}

TEST_F(TracerCore, EndOfAnUnregisteredThreadChangesNothing) {
    traceEverything();
    m_tracer.BeginningOfThread("MAIN");
    std::thread([&] { m_tracer.EndOfThread(); }).join();
    m_tracer.BeginningOfThread("other");
    { TRACE_FUNCTION("a"); }
    EXPECT_NE(file().find("[MAIN           ]a\n"), std::string::npos) << file();
}

TEST_F(TracerCore, ThreadWithoutANameBreaksTheContract) {
    m_tracer.BeginningOfThread(nullptr);
    EXPECT_THAT(takeContractViolations(),
                ElementsAre(std::string("REQUIRE VIOLATION: threadName != NULL") + TRACER_POSITION + "537"));
}

TEST_F(TracerCore, SwitchingAnUnregisteredThreadChangesNothing) {
    traceEverything();
    m_tracer.Disable();
    { TRACE_FUNCTION("a"); }
    std::thread([&] {
        m_tracer.Disable();
        TRACE_FUNCTION("b");
    }).join();
    EXPECT_THAT(lines(), ElementsAre("a\n", "b\n"));
}

TEST_F(TracerCore, StacksOfAllThreadsArePrinted) {
    traceEverything();
    m_tracer.BeginningOfThread("MAIN");
    TRACE_FUNCTION("waiting");
    std::thread([&] {
        m_tracer.BeginningOfThread("OTHER");
        TRACE_FUNCTION("crashing");
        m_tracer.PrintStacks();
    }).join();
    const std::string text = file();
    EXPECT_NE(text.find("[MAIN           ]    [1] waiting\n"), std::string::npos) << text;
    EXPECT_NE(text.find("[OTHER          ]    [1] crashing\n"), std::string::npos) << text;
    const std::vector<std::string> all = linesOf(text);
    EXPECT_EQ(std::count(all.begin(), all.end(), "-------------- CALLSTACK --------------\n"), 2);
}

TEST_F(TracerCore, StacksArePrintedInTheOrderOfTheThreadIds) {
    traceEverything();
    constexpr std::size_t COUNT = 4;
    std::vector<std::uint64_t> ids(COUNT);
    std::atomic<std::size_t> known{0};
    std::atomic<std::size_t> registered{0};
    std::atomic<bool> done{false};
    const auto waitFor = [](const auto& condition) {
        while (!condition())
            std::this_thread::yield();
    };
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < COUNT; ++i) {
        threads.emplace_back([&, i] {
            ids[i] = currentThreadKey();
            ++known;
            waitFor([&] { return known == COUNT; });
            const auto rank = static_cast<std::size_t>(std::count_if(
                ids.begin(), ids.end(), [&](std::uint64_t id) { return id < ids[i]; }));
            // Registers the highest id first, so that the order of registration is not that of the ids.
            waitFor([&] { return registered == COUNT - 1 - rank; });
            m_tracer.BeginningOfThread(("rank " + std::to_string(rank)).c_str());
            TRACE_FUNCTION("a");
            ++registered;
            waitFor([&] { return done.load(); });
        });
    }
    waitFor([&] { return registered == COUNT; });
    const std::size_t before = file().size();
    m_tracer.PrintStacks();
    const std::string stacks = file().substr(before);
    done = true;
    for (std::thread& thread : threads)
        thread.join();
    std::string ranks;
    for (std::size_t at = stacks.find("[rank "); at != std::string::npos; at = stacks.find("[rank ", at + 1))
        ranks += stacks.substr(at + 6, 1);
    EXPECT_EQ(ranks, "0123") << stacks;
}

TEST_F(TracerCore, RefusedThreadIsTracedOnceTheFiltersPermitIt) {
    traceEverything();
    std::thread([&] {
        Tracer strict;
        strict.setEnabled(true);
        strict.setDirectWrite(true);
        strict.TraceTheCall("*");
        strict.SetFileName(m_folder / "strict");
        Tracer::SetInstance(&strict);
        const auto call = [] { TRACE_FUNCTION("a"); };
        call();
        call();
        strict.TraceTheThread("th_*");
        call();
        Tracer::SetInstance(&m_tracer);
    }).join();
    EXPECT_THAT(withoutThreadColumns(readFile(m_folder / "strict_0.txt")), ElementsAre("a\n"));
}

namespace {

/// Makes a call twice, the second time while another thread holds the tracer's lock. Hangs if that call waits
/// for the lock.
void callAgainWhileLocked(Tracer& tracer, const std::function<void()>& call) {
    std::atomic<bool> called{false};
    std::atomic<bool> locked{false};
    std::thread caller([&] {
        call();
        called = true;
        while (!locked)
            std::this_thread::yield();
        call();
    });
    while (!called)
        std::this_thread::yield();
    const KFLock lock(tracer.getLock());
    locked = true;
    caller.join();
}

} // namespace

TEST_F(TracerCore, HiddenCallDoesNotWaitForTheLock) {
    traceEverything();
    m_tracer.TraceTheCall("-hidden");
    callAgainWhileLocked(m_tracer, [] { TRACE_FUNCTION("hidden"); });
    EXPECT_EQ(file(), "(none)");
}

TEST_F(TracerCore, CallOfARefusedThreadDoesNotWaitForTheLock) {
    m_tracer.setEnabled(true);
    m_tracer.TraceTheCall("*");
    m_tracer.SetFileName("trace");
    callAgainWhileLocked(m_tracer, [] { TRACE_FUNCTION("a"); });
    m_tracer.FinishTracing();
    EXPECT_EQ(file(), "(none)");
}

TEST_F(TracerCore, StacksMayBeVeryDeep) {
    traceEverything();
    m_tracer.TraceTheCall("-hidden");
    m_tracer.BeginningOfThread("MAIN");
    std::vector<std::unique_ptr<CallMarker>> markers;
    for (int i = 0; i < 1000; ++i)
        markers.push_back(std::make_unique<CallMarker>(i % 2 == 0 ? "hidden" : "shown"));
    m_tracer.PrintStacks();
    const std::string text = file();
    EXPECT_NE(text.find("    [1000] shown\n"), std::string::npos);
    EXPECT_NE(text.find("    [1] hidden\n"), std::string::npos);
    while (!markers.empty())
        markers.pop_back();
    { TRACE_FUNCTION("after"); }
    EXPECT_EQ(withoutThreadColumns(file()).back(), "after\n");
}

// ---- objects

TEST_F(TracerCore, ObjectsAreCountedByClass) {
    traceEverything();
    m_tracer.TraceTheCall("-*");
    const CallMarker first("B", "B::constructor", true, this);
    const CallMarker second("B", "B::constructor", true, this);
    const CallMarker third("A class whose name is longer than its column", "constructor", true, this);
    m_tracer.PrintAllObjectsCount();
    EXPECT_EQ(file(), "\n-------------- OBJECT(S) COUNT --------------\n"
                      "Class = A class whose name is longer than its column, count = 000001\n"
                      "Class = B                             , count = 000002\n"
                      "---------------------------------------------\n");
}

TEST_F(TracerCore, CountThatFallsBelowOneIsRemoved) {
    traceEverything();
    m_tracer.TraceTheCall("-*");
    CallMarker constructor("A", "A::constructor", true, this);
    EXPECT_EQ(m_tracer.UpdateObjectCount(constructor), 2);
    CallMarker destructor("A", "A::destructor", false, this);
    EXPECT_EQ(m_tracer.UpdateObjectCount(destructor), 0);
    m_tracer.PrintAllObjectsCount();
    EXPECT_EQ(file().find("Class = "), std::string::npos) << file();
    EXPECT_EQ(m_tracer.UpdateObjectCount(destructor), 0);
    EXPECT_EQ(m_tracer.UpdateObjectCount(constructor), 1);
}

TEST_F(TracerCore, MarkerWithoutAClassCountsNothing) {
    traceEverything();
    CallMarker marker("a");
    EXPECT_EQ(m_tracer.UpdateObjectCount(marker), 0);
}

TEST_F(TracerCore, ObjectCountWithoutObjectsIsHeaderAndRuleAlsoForAnUntracedThread) {
    m_tracer.setDirectWrite(true);
    m_tracer.SetFileName("trace");
    m_tracer.PrintAllObjectsCount();
    EXPECT_EQ(file(), "\n-------------- OBJECT(S) COUNT --------------\n"
                      "---------------------------------------------\n");
}

// ---- outputs

TEST_F(TracerCore, ConsoleLinesAreDeliberatelyFollowedByAnEmptyLine) {
    const ChildResult result = runInChild([this] {
        m_tracer.SetFileName("console");
        m_tracer.PrintString("one\n");
        m_tracer.setDirectWrite(true);
        m_tracer.PrintString("two\n");
        m_tracer.FinishTracing();
    });
    EXPECT_EQ(result.output, "one\n\ntwo\n\n");
    EXPECT_EQ(result.errors, "");
}

TEST_F(TracerCore, NothingIsWrittenForMsvc) {
    const ChildResult result = runInChild([this] {
        if (chdir(m_folder.path().c_str()) != 0)
            _exit(2);
        m_tracer.SetFileName("msvc");
        m_tracer.PrintString("one\n");
        m_tracer.setDirectWrite(true);
        m_tracer.PrintString("two\n");
        m_tracer.WriteOnFile();
        if (ring().waiting() != 0)
            _exit(4);
        m_tracer.FinishTracing();
        _exit(access("msvc", F_OK) == 0 ? 3 : 0);
    });
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output + result.errors, "");
}

// ---- beginning and finishing

TEST_F(TracerCore, FinishingDisablesAndWritesTheQueuedLines) {
    traceEverything();
    m_tracer.setDirectWrite(false);
    { TRACE_FUNCTION("a"); }
    EXPECT_EQ(file(), "(none)");
    m_tracer.FinishTracing();
    EXPECT_FALSE(m_tracer.isEnabled());
    EXPECT_THAT(lines(), ElementsAre("a\n"));
}

TEST_F(TracerCore, FinishingADirectlyWritingTracerLeavesItsQueueAlone) {
    traceEverything();
    m_tracer.setDirectWrite(false);
    m_tracer.PrintString("waits\n");
    m_tracer.setDirectWrite(true);
    m_tracer.FinishTracing();
    EXPECT_FALSE(m_tracer.isEnabled());
    EXPECT_EQ(ring().waiting(), 1U);
    EXPECT_EQ(file(), "(none)");
}

TEST_F(TracerCore, FinishingWritesMoreLinesThanTheRingHolds) {
    m_tracer.setMaximumFiles(2);
    m_tracer.setMaximumLinesPerFile(3);
    m_tracer.SetFileName("trace");
    for (int i = 0; i < 100; ++i)
        m_tracer.PrintString(std::to_string(i) + "\n");
    m_tracer.FinishTracing();
    EXPECT_EQ(ring().waiting(), 0U);
}

TEST_F(TracerCore, FinishingGivesUpWhenTheFileCannotBeOpened) {
    const ChildResult result = runInChild([this] {
        m_tracer.SetFileName(m_folder / "missing/trace");
        m_tracer.PrintString("one\n");
        m_tracer.FinishTracing();
    });
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.errors, "Tracer : can't open " + (m_folder / "missing/trace_0.txt") + "\n");
}

TEST_F(TracerCore, EnabledWithoutAFileNameEndsTheProcess) {
    const std::string path = m_folder / "tracer.cfg";
    writeFile(path, "TRACE_ON\n");
    const ChildResult result = runInChild([&] { m_tracer.ReadConfigFile(path.c_str()); });
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.output, "please call TRACE_SET_FILE_NAME(\"baseFileName\")\n");
}

TEST_F(TracerCore, DisabledWithoutAFileNameIsNoError) {
    const std::string path = m_folder / "tracer.cfg";
    writeFile(path, "TRACE_ON\nTRACE_OFF\n");
    const ChildResult result = runInChild([&] { m_tracer.ReadConfigFile(path.c_str()); });
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output + result.errors, "");
}
