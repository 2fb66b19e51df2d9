#include "KFExceptionHandler.h"
#include "CallMarker.h"
#include "ContractChecks.h"
#include "CrashingChild.h"
#include "FaultyDisk.h"
#include "ForbiddenPage.h"
#include "KFCrashListener.h"
#include "KFThread.h"
#include "Logger.h"
#include "OtherProcess.h"
#include "Tracer.h"
#include "detail/KFLock.h"

#include <atomic>
#include <climits>
#include <csignal>
#include <gmock/gmock.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/time.h>
#include <thread>

using namespace kf::detail;

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// Gives access to protected members: the listeners, the record, the time limit.
class TestedHandler : public KFExceptionHandler {
public:
    static void setReportLimit(int milliseconds) { ms_reportLimit = milliseconds; }
    static int reportLimit() { return ms_reportLimit; }
    static const std::map<std::string, std::string>& record() { return m_ExceptParams; }
    static void addListener(KFCrashListener* listener) {
        (GetInstance()->*(&TestedHandler::m_crashListeners)).push_back(listener);
    }
};

/// An object that appears in the object counts.
class CountedVictim {
public:
    CountedVictim() { TRACE_CONSTRUCTOR("CountedVictim"); }
    ~CountedVictim() { TRACE_DESTRUCTOR("CountedVictim"); }
};

static void raiseInATracedCall(int sig) {
    TRACE_FUNCTION("innermostCall");
    raise(sig);
}

static void crashWith(int sig) {
    KFExceptionHandler::GetInstance();
    TRACE_FUNCTION("outermostCall");
    const CountedVictim victim;
    raiseInATracedCall(sig);
}

static std::string rest(const std::string& text, const std::string& from) {
    const std::size_t at = text.find(from);
    return at == std::string::npos ? std::string() : text.substr(at);
}

static int occurrences(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

// ---- One child per signal

enum class End { REPORT, BY_THE_SIGNAL, STOPPED, UNTOUCHED };

struct SignalCase {
    int number;
    const char* text;
    End end = End::REPORT;
};

/// Adapts the case to this host: which two signals cannot be caught depends on it.
static SignalCase onThisHost(SignalCase signalCase) {
    if (signalCase.number == SIGKILL)
        signalCase.end = End::BY_THE_SIGNAL;
    if (signalCase.number == SIGSTOP)
        signalCase.end = End::STOPPED;
    return signalCase;
}

static const SignalCase SIGNAL_CASES[] = {
    {1, "SIGNAL_HANG_UP"},
    {2, "SIGNAL_INTERRUPT"},
    {3, "SIGNAL_QUIT"},
    {4, "SIGNAL_ILLEGAL_INSTRUCTION"},
    {5, "SIGNAL_TRACE_TRAP"},
    {6, "SIGNAL_ABORT"},
    {7, "UNKNOWN SIGNAL (7)"},
    {8, "SIGNAL_FLT"},
    {9, "SIGNAL_KILL"},
    {10, "SIGNAL_BUS_ERROR"},
    {11, "SIGNAL_SEGMENTATION_FAULT"},
    {12, "SIGNAL_BAD_ARGUMENT_SYSTEM_CALL"},
    {13, "SIGNAL_WRITE_PIPE_WITH_NO_READER"},
    {14, "SIGNAL_ALARM_CLOCK"},
    {15, "SIGNAL_SOTWARE_TERMINATION"},
    {16, "SIGNAL_URG_ON_IO_CHANNEL"},
    {17, "SIGNAL_STOP"},
    {18, "UNKNOWN SIGNAL (18)"},
    {19, "SIGNAL_CONTINUE"},
    {20, "SIGNAL_SIGCHLD"},
    {21, "SIGNAL_SIGTTIN"},
    {22, "SIGNAL_SIGTTOU"},
    {23, "UNKNOWN SIGNAL (23)"},
    {24, "UNKNOWN SIGNAL (24)"},
    {25, "UNKNOWN SIGNAL (25)"},
    {26, "UNKNOWN SIGNAL (26)"},
    {27, "UNKNOWN SIGNAL (27)"},
    {28, "SIGNAL_WINDOW_SIZE_CHANGE", End::UNTOUCHED},
    {29, "UNKNOWN SIGNAL (29)"},
    {30, " :  - In File :  - At Line : "},
};

class EverySignal : public testing::TestWithParam<SignalCase> {};

TEST_P(EverySignal, EndsTheProcessWithAReportAndStatus0) {
    const SignalCase expected = onThisHost(GetParam());
    const CrashedChild child = runCrashingChild([&](const TemporaryFolder&) { crashWith(expected.number); });
    switch (expected.end) {
    case End::BY_THE_SIGNAL:
        EXPECT_TRUE(WIFSIGNALED(child.status) && WTERMSIG(child.status) == expected.number);
        EXPECT_THAT(child.trace, IsEmpty());
        return;
    case End::STOPPED:
        EXPECT_TRUE(WIFSTOPPED(child.status) && WSTOPSIG(child.status) == expected.number);
        EXPECT_THAT(child.trace, IsEmpty());
        return;
    case End::UNTOUCHED:
        EXPECT_EQ(child.exitStatus(), SURVIVED);
        EXPECT_THAT(child.trace, IsEmpty()) << "the lines are still in the queue";
        return;
    case End::REPORT:
        break;
    }
    EXPECT_EQ(child.exitStatus(), 0);
    const std::string text = std::string(">> [E] ") + expected.text + "\n";
    EXPECT_THAT(child.trace, HasSubstr("    SIGNAL_FILTER\n"));
    const std::string stacks = rest(child.trace, text);
    EXPECT_THAT(stacks, StartsWith(text + "\n-------------- CALLSTACK --------------\n"));
    EXPECT_THAT(stacks,
                ContainsRegex("\\[3\\] SIGNAL_FILTER\n.*\\[2\\] innermostCall\n.*\\[1\\] outermostCall\n"
                              "---------------------------------------\n"));
    const std::string counts = rest(stacks, "\n-------------- OBJECT(S) COUNT --------------\n");
    EXPECT_THAT(counts, HasSubstr("Class = CountedVictim                 , count = 000001\n"));
    EXPECT_THAT(counts, HasSubstr("Class = KFExceptionHandler            , count = 000001\n"));
    EXPECT_THAT(counts, testing::EndsWith("---------------------------------------------\n"));
    EXPECT_EQ(occurrences(child.trace, "SIGNAL_FILTER\n"), 2) << "the call and the stack; it never returns";
}

INSTANTIATE_TEST_SUITE_P(KFExceptionHandler, EverySignal, testing::ValuesIn(SIGNAL_CASES),
                         [](const auto& tested) { return "Signal" + std::to_string(tested.param.number); });

// A signal that the handler cannot catch on this host still has its name.
TEST(CrashText, OfASignalThatTheHostKeepsFromTheHandlerIsItsName) {
    const SignalCase cases[] = {{9, "SIGNAL_KILL"},
                                {17, "SIGNAL_STOP"},
                                {19, "SIGNAL_CONTINUE"},
                                {28, "SIGNAL_WINDOW_SIZE_CHANGE"},
                                {31, "UNKNOWN SIGNAL (31)"}};
    for (const SignalCase& expected : cases) {
        const CrashedChild child = runCrashingChild(
            [&](const TemporaryFolder&) { KFExceptionHandler::crashHandlerSignalFilter(expected.number); });
        EXPECT_EQ(child.exitStatus(), 0);
        EXPECT_THAT(child.trace, HasSubstr(std::string(">> [E] ") + expected.text + "\n"));
    }
}

// ---- Installing

TEST(KFExceptionHandlerInstall, TakesSignals1To30Except28WithAnEmptyMaskAndNoFlags) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        KFExceptionHandler::GetInstance();
        for (int sig = 1; sig <= 31; ++sig) {
            struct sigaction action = {};
            sigaction(sig, nullptr, &action);
            const bool taken = action.sa_handler == KFExceptionHandler::crashHandlerSignalFilter;
            const bool expected = sig <= 30 && sig != 28 && onThisHost({sig, ""}).end == End::REPORT;
            if (taken != expected)
                _exit(100 + sig);
            if (!taken)
                continue;
            const int flags = SA_NOCLDSTOP | SA_NOCLDWAIT | SA_SIGINFO | SA_ONSTACK | SA_RESTART | SA_NODEFER;
            if ((action.sa_flags & flags) != 0 ||
                (static_cast<unsigned>(action.sa_flags) & SA_RESETHAND) != 0)
                _exit(150 + sig);
            for (int masked = 1; masked <= 31; ++masked)
                if (sigismember(&action.sa_mask, masked) != 0)
                    _exit(200 + sig);
        }
        _exit(0);
    });
    EXPECT_EQ(child.exitStatus(), 0);
}

TEST(KFExceptionHandlerInstall, TracesASignalThatCannotBeCaughtAndGoesOn) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        KFExceptionHandler::GetInstance();
        raise(15);
    });
    EXPECT_EQ(occurrences(child.trace, "Cant install signal handler for"), 2);
    for (const int sig : {SIGKILL, SIGSTOP})
        EXPECT_THAT(child.trace, HasSubstr(">> [E] Cant install signal handler for " + std::to_string(sig) +
                                           " errno = " + std::to_string(EINVAL) + ".\n"));
    EXPECT_THAT(child.trace, HasSubstr("KFExceptionHandler::constructor\n"));
}

TEST(KFExceptionHandlerInstall, AHandlerThatGoesIsUncounted) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        { const KFExceptionHandler handler; }
        raise(15);
    });
    EXPECT_THAT(child.trace, HasSubstr("KFExceptionHandler::constructor\n"));
    EXPECT_THAT(child.trace, HasSubstr("KFExceptionHandler::destructor\n"));
    EXPECT_THAT(child.trace, Not(HasSubstr("Class = KFExceptionHandler ")));
}

TEST(KFExceptionHandlerInstall, TakesTheSignalsInIncreasingOrder) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        KFExceptionHandler::GetInstance();
        raise(15);
    });
    static_assert(SIGKILL < SIGSTOP);
    const std::string second = rest(child.trace, "handler for " + std::to_string(SIGKILL) + " errno");
    EXPECT_THAT(second, HasSubstr("handler for " + std::to_string(SIGSTOP) + " errno"));
}

TEST(KFExceptionHandlerInstall, HappensOnce) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        const KFExceptionHandler* const first = KFExceptionHandler::GetInstance();
        _exit(KFExceptionHandler::GetInstance() == first ? WENT_WELL : 1);
    });
    EXPECT_EQ(child.exitStatus(), WENT_WELL);
}

static bool isInstalledOnceByTwoThreads() {
    std::atomic<int> waiting{0};
    std::vector<KFExceptionHandler*> handlers(2);
    std::vector<std::thread> threads;
    for (KFExceptionHandler*& handler : handlers) {
        threads.emplace_back([&] {
            ++waiting;
            while (waiting < 2) { // without yielding, so that both arrive at the same moment
            }
            handler = KFExceptionHandler::GetInstance();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const KFExceptionHandler* const handler : handlers)
        if (handler == nullptr || handler != handlers.front())
            return false;
    return true;
}

TEST(KFExceptionHandlerInstall, HappensOnceThoughTwoThreadsComeFirst) {
    for (int round = 0; round < 50; ++round) {
        const CrashedChild child = runCrashingChild(
            [](const TemporaryFolder&) { _exit(isInstalledOnceByTwoThreads() ? WENT_WELL : 1); }, false);
        EXPECT_EQ(child.exitStatus(), WENT_WELL);
    }
}

TEST(KFExceptionHandlerInstall, EmptiesTheRecord) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        KFExceptionHandler::GetInstance();
        const std::map<std::string, std::string> expected = {
            {"Code", ""}, {"Name", ""}, {"Description", ""}, {"InFile", ""}, {"AtLine", ""}};
        _exit(TestedHandler::record() == expected ? WENT_WELL : 1);
    });
    EXPECT_EQ(child.exitStatus(), WENT_WELL);
}

// ---- Reporting

TEST(CrashReport, OfARealFault) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        KFExceptionHandler::GetInstance();
        touchAForbiddenPage();
    });
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_THAT(child.trace, ContainsRegex(">> \\[E\\] SIGNAL_(SEGMENTATION_FAULT|BUS_ERROR)\n"));
}

// The lines that wait for the flush thread are written before the report, which is written at once.
TEST(CrashReport, WritesTheQueuedLinesFirst) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        KFExceptionHandler::GetInstance();
        TRACE_FUNCTION("traced");
        TRACE_MESSAGE(MSG_DEBUG, "waiting in the queue");
        raise(15);
    });
    EXPECT_THAT(rest(child.trace, "waiting in the queue\n"), HasSubstr("SIGNAL_SOTWARE_TERMINATION\n"));
}

TEST(CrashReport, ListsTheStacksOfAllTracedThreads) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        KFExceptionHandler::GetInstance();
        std::atomic<bool> ready{false};
        std::thread other([&] {
            TRACE_FUNCTION("callOfTheOtherThread");
            ready = true;
            for (;;)
                pause();
        });
        while (!ready)
            std::this_thread::yield();
        TRACE_FUNCTION("callOfTheCrashedThread");
        raise(11);
        other.join();
    });
    EXPECT_EQ(child.exitStatus(), 0);
    const std::string stacks = rest(child.trace, "SIGNAL_SEGMENTATION_FAULT\n");
    EXPECT_THAT(stacks, HasSubstr("[1] callOfTheOtherThread\n"));
    EXPECT_THAT(stacks, HasSubstr("[1] callOfTheCrashedThread\n"));
    EXPECT_EQ(occurrences(stacks, "CALLSTACK"), 2);
}

TEST(CrashReport, WithoutATracerTheProcessEndsAllTheSame) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) { crashWith(11); }, false);
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_THAT(child.trace, IsEmpty());
}

TEST(CrashReport, WithADisabledTracerTheProcessEndsAllTheSame) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        Tracer::GetInstance()->setEnabled(false);
        crashWith(11);
    });
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_THAT(child.trace, IsEmpty());
}

TEST(CrashReport, RunsWhatTheProcessRegisteredForItsEnd) {
    static std::string* mark;
    const CrashedChild child = runCrashingChild([](const TemporaryFolder& folder) {
        mark = new std::string(folder / "trace_0.txt");
        atexit([] { writeFile(*mark, "at exit"); });
        crashWith(15);
    });
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_EQ(child.trace, "at exit");
}

TEST(CrashReport, DrainsTheLogger) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder& folder) {
        Logger logger;
        Logger::SetInstance(&logger);
        logger.setEnabled(true);
        logger.addToLevelMask(MSG_LEVEL_0);
        logger.SetFileName(folder / "log");
        logger.PrintMsg(MSG_LEVEL_0, "%s", "waiting in the queue");
        Tracer::GetInstance()->SetFileName("msvc");
        if (link((folder / "log_0.txt").c_str(), (folder / "trace_0.txt").c_str()) == 0)
            _exit(1); // the line is still in the queue, so there is no file yet
        writeFile(folder / "log_0.txt", "");
        if (link((folder / "log_0.txt").c_str(), (folder / "trace_0.txt").c_str()) != 0)
            _exit(2);
        crashWith(15);
    });
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_THAT(child.trace, HasSubstr("[LEVEL_0] waiting in the queue\n"));
}

// Wherever the signal interrupts the thread, even in the middle of a line, all lines before that are written.
TEST(CrashReport, DrainsTheLoggerOfAThreadThatWasJustLogging) {
    for (int microseconds = 1000; microseconds < 3000; microseconds += 100) {
        const CrashedChild child = runCrashingChild(
            [microseconds](const TemporaryFolder& folder) {
                Logger logger;
                Logger::SetInstance(&logger);
                logger.SetFileName(folder / "trace");
                logger.setEnabled(true);
                KFExceptionHandler::GetInstance();
                logger.PrintMsg(MSG_LEVEL_0, "line 0"); // at least one line, however slow the machine is
                itimerval alarm{};
                alarm.it_value.tv_usec = microseconds;
                setitimer(ITIMER_REAL, &alarm, nullptr);
                for (int i = 1;; ++i)
                    logger.PrintMsg(MSG_LEVEL_0, "line %d", i);
            },
            false);
        EXPECT_EQ(child.exitStatus(), 0);
        EXPECT_LT(child.seconds, 9);
        std::istringstream lines(child.trace);
        int next = 0;
        bool isCut = false;
        for (std::string line; std::getline(lines, line); ++next) {
            ASSERT_FALSE(isCut) << "the line that was interrupted is the last one";
            isCut = line != "[LEVEL_0] line " + std::to_string(next);
            ASSERT_TRUE(!isCut || line.find_first_not_of('?') == std::string::npos) << line;
        }
        EXPECT_GT(next, 0) << microseconds;
    }
}

TEST(CrashReport, DoesNotWaitLongForALoggerThatIsBusy) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder& folder) {
        Logger logger; // not destroyed: the process ends first
        Logger::SetInstance(&logger);
        logger.setEnabled(true);
        logger.addToLevelMask(MSG_LEVEL_0);
        logger.SetFileName(folder / "log");
        std::atomic<bool> ready{false};
        std::thread([&ready, &logger] {
            const KFLock lock(logger.getLock());
            ready = true;
            for (;;)
                pause();
        }).detach();
        while (!ready)
            std::this_thread::yield();
        crashWith(15);
    });
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_LT(child.seconds, 9);
    EXPECT_THAT(child.trace, HasSubstr("OBJECT(S) COUNT"));
}

TEST(CrashReport, WhileTheSameThreadHoldsTheTracersLock) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        KFExceptionHandler::GetInstance();
        const KFLock lock(Tracer::GetInstance()->getLock());
        raise(11);
    });
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_THAT(child.trace, HasSubstr(">> [E] SIGNAL_SEGMENTATION_FAULT\n"));
    EXPECT_THAT(child.trace, HasSubstr("OBJECT(S) COUNT"));
}

// ---- Guards

TEST(CrashGuard, AReportMayTakeTenSeconds) {
    EXPECT_EQ(TestedHandler::reportLimit(), 10000);
}

/// Crashes while the disk of the trace file hangs, so that the report hangs. All threads but the crashing one
/// block signal 14.
static CrashedChild hangInTheReport(int sig, bool blocksSignal14) {
    return runCrashingChild([sig, blocksSignal14](const TemporaryFolder& folder) {
        KFExceptionHandler::GetInstance();
        TestedHandler::setReportLimit(200);
        const FaultyDisk disk(folder / "trace_0.txt", FaultyDisk::Fault::Hangs);
        sigset_t signal14;
        sigemptyset(&signal14);
        sigaddset(&signal14, 14);
        pthread_sigmask(SIG_BLOCK, &signal14, nullptr);
        std::thread([] {
            for (;;)
                pause();
        }).detach();
        if (!blocksSignal14)
            pthread_sigmask(SIG_UNBLOCK, &signal14, nullptr);
        raise(sig);
    });
}

TEST(CrashGuard, AReportThatHangsIsEnded) {
    const CrashedChild child = hangInTheReport(11, false);
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_LT(child.seconds, 9);
    EXPECT_THAT(child.trace, IsEmpty());
}

TEST(CrashGuard, AReportThatHangsIsEndedThoughEveryThreadBlocksSignal14) {
    const CrashedChild child = hangInTheReport(11, true);
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_LT(child.seconds, 9);
}

// While signal 14 is handled it is blocked, although it is the signal that ends a hanging report.
TEST(CrashGuard, AReportOfSignal14ThatHangsIsEnded) {
    const CrashedChild child = hangInTheReport(14, false);
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_LT(child.seconds, 9);
}

/// Traces its notification, and then runs the test's action.
class Listener : public KFCrashListener {
public:
    explicit Listener(std::function<void()> action = [] {}) : m_action(std::move(action)) {}
    void onCrash(std::string crashText) override {
        TRACE_METHOD();
        TRACE_MESSAGE(MSG_DEBUG, "heard of %s", crashText.c_str());
        m_action();
        TRACE_MESSAGE(MSG_DEBUG, "still there");
    }

private:
    std::function<void()> m_action;
};

TEST(CrashListeners, HearOfTheCrashInOrderAfterTheReport) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        Listener first([] { TRACE_FUNCTION("firstListener"); });
        Listener second([] { TRACE_FUNCTION("secondListener"); });
        TestedHandler::addListener(&first);
        TestedHandler::addListener(nullptr);
        TestedHandler::addListener(&second);
        raise(15);
    });
    EXPECT_EQ(child.exitStatus(), 0);
    const std::string end = rest(child.trace, "OBJECT(S) COUNT");
    EXPECT_EQ(occurrences(end, ">> [D] heard of SIGNAL_SOTWARE_TERMINATION\n"), 2);
    EXPECT_EQ(occurrences(end, ">> [D] still there\n"), 2);
    EXPECT_THAT(rest(end, "firstListener\n"), HasSubstr("secondListener\n"));
}

static CrashedChild crashTwice(int first, const std::function<void()>& second) {
    return runCrashingChild([&](const TemporaryFolder&) {
        Listener listener(second);
        TestedHandler::addListener(&listener);
        raise(first);
    });
}

TEST(CrashGuard, ASecondSignalDoesNotCostTheReport) {
    for (const int sig : {1, 2, 15, 18, 30}) {
        const CrashedChild child = crashTwice(15, [sig] { raise(sig); });
        EXPECT_EQ(child.exitStatus(), 0) << sig;
        EXPECT_THAT(child.trace, HasSubstr("heard of SIGNAL_SOTWARE_TERMINATION\n")) << sig;
        EXPECT_THAT(child.trace, HasSubstr("still there")) << sig;
    }
}

TEST(CrashGuard, AFaultOrTheAlarmInTheReportEndsTheProcessAtOnce) {
    for (const int sig : {11, 14}) {
        const CrashedChild child = crashTwice(15, [sig] { raise(sig); });
        EXPECT_EQ(child.exitStatus(), 0) << sig;
        EXPECT_THAT(child.trace, HasSubstr("heard of SIGNAL_SOTWARE_TERMINATION\n")) << sig;
        EXPECT_THAT(child.trace, Not(HasSubstr("still there"))) << sig;
    }
}

// If the fault's signal were blocked, a second fault would end the process by that signal.
TEST(CrashGuard, AFaultInTheReportOfAFaultEndsTheProcessAtOnce) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        Listener listener([] { touchAForbiddenPage(); });
        TestedHandler::addListener(&listener);
        touchAForbiddenPage();
    });
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_THAT(child.trace, HasSubstr("heard of"));
    EXPECT_THAT(child.trace, Not(HasSubstr("still there")));
}

TEST(CrashGuard, AnotherThreadThatCrashesMeanwhileWaitsForTheEnd) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        static std::atomic<bool> reporting{false};
        static std::atomic<bool> faulting{false};
        Listener listener([] {
            reporting = true;
            while (!faulting)
                std::this_thread::yield();
        });
        TestedHandler::addListener(&listener);
        std::thread([] {
            while (!reporting)
                std::this_thread::yield();
            faulting = true;
            touchAForbiddenPage();
        }).detach();
        raise(15);
    });
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_LT(child.seconds, 9);
    EXPECT_THAT(child.trace, HasSubstr("heard of SIGNAL_SOTWARE_TERMINATION\n"));
    EXPECT_THAT(child.trace, HasSubstr("still there"));
}

TEST(CrashGuard, AListenerThatHangsIsEnded) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        TestedHandler::setReportLimit(200);
        Listener listener([] {
            for (;;)
                pause();
        });
        TestedHandler::addListener(&listener);
        raise(15);
    });
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_LT(child.seconds, 9);
    EXPECT_THAT(child.trace, HasSubstr("OBJECT(S) COUNT"));
}

// ---- Broken contracts

static const char KF_SOURCE[] = "product/Somewhere/src/Tested";

static std::string reported(const std::function<void()>& breakIt) {
    const CrashedChild child = runCrashingChild([&](const TemporaryFolder&) { breakIt(); });
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_THAT(child.trace, HasSubstr("OBJECT(S) COUNT"));
    const std::string from = rest(rest(child.trace, "SIGNAL_FILTER\n"), ">> [E] ");
    return from.substr(0, from.find('\n'));
}

TEST(ContractViolation, OfAThreadsEntryIsReportedInTheseWords) {
    EXPECT_EQ(reported([] { KFThread::threadStart(nullptr); }),
              ">> [E] REQUIRE VIOLATION : arg != NULL - In File : "
              "product/Infrastructure/ProgrammingServices/OS/src/KFThread - At Line : 156");
}

TEST(ContractViolation, EachCheckNamesItsKindAndItsConditionAsWritten) {
    EXPECT_EQ(
        reported([] {
            const void* object = nullptr;
            KF_REQUIRE(object != NULL, 1);
        }),
        ">> [E] REQUIRE VIOLATION : object != NULL - In File : product/Somewhere/src/Tested - At Line : 1");
    EXPECT_EQ(
        reported([] { KF_ENSURE(1 + 1 == 3, 2147483); }),
        ">> [E] ENSURE VIOLATION : 1 + 1 == 3 - In File : product/Somewhere/src/Tested - At Line : 2147483");
    EXPECT_EQ(
        reported([] { KF_ASSERT(std::string("a,b").empty(), 0); }),
        ">> [E] ASSERT VIOLATION : std::string(\"a,b\").empty() - In File : product/Somewhere/src/Tested"
        " - At Line : 0");
}

TEST(ContractViolation, IsReportedWithoutAHandlerCreatedBefore) {
    EXPECT_THAT(reported([] { reportContractViolation("KIND", "condition", "file", 5); }),
                ">> [E] KIND : condition - In File : file - At Line : 5");
}

TEST(ContractViolation, APercentSignIsJustACharacter) {
    EXPECT_THAT(reported([] { reportContractViolation("%s", "100%n%s%d", "%x", 5); }),
                ">> [E] %s : 100%n%s%d - In File : %x - At Line : 5");
}

TEST(ContractViolation, TakesNullForAnEmptyText) {
    EXPECT_EQ(
        reported([] { KFExceptionHandler::GetInstance()->throwException(0, nullptr, nullptr, nullptr, 5); }),
        ">> [E]  :  - In File :  - At Line : 5");
}

TEST(ContractViolation, ALongReportIsCut) {
    const std::string text =
        reported([] { reportContractViolation("KIND", std::string(5000, 'c').c_str(), "file", 5); });
    EXPECT_EQ(text, ">> [E] KIND : " + std::string(1023 - 7, 'c'));
}

TEST(ContractViolation, StandsOnTheStackOfTheCallThatBrokeIt) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        TRACE_FUNCTION("guiltyCall");
        KF_REQUIRE(false, 1);
    });
    EXPECT_THAT(rest(child.trace, "CALLSTACK"),
                ContainsRegex("\\[3\\] SIGNAL_FILTER\n.*\\[2\\] KFExceptionHandler::throwException\n"
                              ".*\\[1\\] guiltyCall\n"));
}

TEST(ContractViolation, WithACodeRaisesThatSignalWhichIsReportedByItsName) {
    EXPECT_EQ(
        reported([] { KFExceptionHandler::GetInstance()->throwException(11, "NAME", "text", "file", 5); }),
        ">> [E] SIGNAL_SEGMENTATION_FAULT");
    EXPECT_EQ(
        reported([] { KFExceptionHandler::GetInstance()->throwException(30, "NAME", "text", "file", 5); }),
        ">> [E] NAME : text - In File : file - At Line : 5");
}

/// Reports a violation with this code and line while `ignoredSignal` is ignored, and checks the record.
static void expectRecord(int code, int line, int ignoredSignal) {
    const CrashedChild child = runCrashingChild([=](const TemporaryFolder&) {
        KFExceptionHandler* const handler = KFExceptionHandler::GetInstance();
        signal(ignoredSignal, SIG_IGN);
        handler->throwException(code, "NAME", "text", "file", line);
        const std::map<std::string, std::string> expected = {{"Code", std::to_string(code)},
                                                             {"Name", "NAME"},
                                                             {"Description", "text"},
                                                             {"InFile", "file"},
                                                             {"AtLine", std::to_string(line)}};
        _exit(TestedHandler::record() == expected ? WENT_WELL : 1);
    });
    EXPECT_EQ(child.exitStatus(), WENT_WELL);
    EXPECT_THAT(child.trace, IsEmpty());
}

TEST(ContractViolation, IsRecordedAndReturnsWhereTheSignalIsIgnored) {
    expectRecord(0, 0, 30);
}

TEST(ContractViolation, ItsCodeIsRecordedInDecimal) {
    expectRecord(12, 345, 12);
}

TEST(ContractViolation, ReturnsAlsoFromASignalThatIsNone) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        for (const int code : {INT_MIN, -1, 1000, INT_MAX})
            KFExceptionHandler::GetInstance()->throwException(code, "NAME", "text", "file", 0);
    });
    EXPECT_EQ(child.exitStatus(), SURVIVED);
}

// The field holds nine characters and a zero, so it does not hold every int.
TEST(ContractViolation, ANumberTooLongForItsFieldIsCut) {
    const auto recorded = [](int number) {
        std::string text;
        const CrashedChild child = runCrashingChild([number](const TemporaryFolder& folder) {
            signal(30, SIG_IGN);
            KFExceptionHandler* const handler = KFExceptionHandler::GetInstance();
            signal(30, SIG_IGN);
            handler->throwException(0, "", "", "", number);
            writeFile(folder / "trace_0.txt", TestedHandler::record().at("AtLine"));
        });
        EXPECT_EQ(child.exitStatus(), SURVIVED);
        return child.trace;
    };
    EXPECT_EQ(recorded(999999999), "999999999");
    EXPECT_EQ(recorded(1234567890), "123456789");
    EXPECT_EQ(recorded(-12345678), "-12345678");
    EXPECT_EQ(recorded(INT_MIN), "-21474836");
    EXPECT_EQ(recorded(INT_MAX), "214748364");
}

TEST(ContractViolation, OfTwoAtOnceOneIsReportedWhole) {
    for (int round = 0; round < 10; ++round) {
        const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
            KFExceptionHandler::GetInstance();
            static std::atomic<int> waiting{0};
            std::thread threads[2];
            for (int number = 0; number < 2; ++number)
                threads[number] = std::thread([number] {
                    const std::string text(200, static_cast<char>('A' + number));
                    ++waiting;
                    while (waiting < 2)
                        std::this_thread::yield();
                    reportContractViolation(text.c_str(), text.c_str(), text.c_str(), number);
                });
            for (std::thread& thread : threads)
                thread.join();
        });
        EXPECT_EQ(child.exitStatus(), 0);
        EXPECT_LT(child.seconds, 9);
        EXPECT_EQ(occurrences(child.trace, " - In File : "), 1);
        EXPECT_THAT(child.trace, ContainsRegex(">> \\[E\\] (A{200} : A{200} - In File : A{200} - At Line : 0|"
                                               "B{200} : B{200} - In File : B{200} - At Line : 1)\n"));
        EXPECT_THAT(child.trace, HasSubstr("OBJECT(S) COUNT"));
    }
}

TEST(ContractViolation, WhileOneIsReportedAnotherThreadsWaits) {
    const CrashedChild child = runCrashingChild([](const TemporaryFolder&) {
        static std::atomic<bool> reporting{false};
        static std::atomic<bool> second{false};
        Listener listener([] {
            reporting = true;
            while (!second)
                std::this_thread::yield();
            // Time enough for the second violation to do harm: its signal would end the process here.
            const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(200);
            while (std::chrono::steady_clock::now() < end)
                std::this_thread::yield();
        });
        TestedHandler::addListener(&listener);
        std::thread([] {
            while (!reporting)
                std::this_thread::yield();
            second = true;
            reportContractViolation("SECOND", "second", "file", 2);
        }).detach();
        reportContractViolation("FIRST", "first", "file", 1);
    });
    EXPECT_EQ(child.exitStatus(), 0);
    EXPECT_THAT(child.trace, HasSubstr(">> [E] FIRST : first - In File : file - At Line : 1\n"));
    EXPECT_THAT(child.trace, HasSubstr(">> [D] still there\n"));
    EXPECT_THAT(child.trace, Not(HasSubstr("SECOND")));
}

TEST(ContractChecks, AConditionThatHoldsIsEvaluatedOnceAndReportsNothing) {
    int evaluations = 0;
    KF_REQUIRE(++evaluations == 1, 1);
    KF_ENSURE(++evaluations == 2, 2);
    KF_ASSERT(++evaluations == 3, 3);
    EXPECT_EQ(evaluations, 3);
}

TEST(ContractChecks, MayStandUnbracedAfterAnIfOrAnElse) {
    int taken = 0;
    if (taken == 1)
        KF_REQUIRE(false, 1);
    else
        taken = 2;
    EXPECT_EQ(taken, 2);
    if (taken == 2)
        taken = 3;
    else
        KF_ASSERT(false, 2);
    EXPECT_EQ(taken, 3);
}
