#include "CallMarker.h"
#include "KFExceptionHandler.h"
#include "KFLock.h"
#include "LogMessage.h"
#include "TemporaryFolder.h"
#include "TextFile.h"
#include "Tracer.h"
#include "WaitUntil.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>
#include <malloc.h>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

// What a process that stops or crashes leaves behind has to be whole every time, however the crash was found
// and whatever it interrupts. So each case runs often; the crash comes at another moment each time.

using testing::HasSubstr;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int ROUNDS = 5;
#else
constexpr int ROUNDS = 25; // --gtest_repeat makes more of it
#endif

constexpr int LAST_SIZE = 60;

/// A page that may not be touched: a fault for which no undefined behaviour is needed.
void touchAForbiddenPage() {
    void* const page = mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANON, -1, 0);
    *static_cast<volatile char*>(page) = 1;
}

/// What a process has registered for its end may hang on the lock of malloc, as long as the handler lets it.
class ImpatientHandler : public KFExceptionHandler {
public:
    static void setEndLimit(int milliseconds) { ms_endLimit = milliseconds; }
};

/// An object that shows in the object counts.
class Counted {
public:
    Counted() { TRACE_CONSTRUCTOR("Counted"); }
    ~Counted() { TRACE_DESTRUCTOR("Counted"); }
};

/// All files of a ring, in the order of their numbers.
std::string contentOfRing(const TemporaryFolder& folder, const std::string& name) {
    std::string content;
    for (int index = 0;; ++index) {
        const std::string path = folder / (name + "_" + std::to_string(index) + ".txt");
        if (access(path.c_str(), F_OK) != 0)
            return content;
        content += readFile(path);
    }
}

/// A process with a tracer and a logger as in the field, and what it leaves behind.
class Process {
public:
    /// The body runs in the child behind the start of the tracer, the logger and the crash handler; when it
    /// returns, the child waits for a signal. The child's main thread is in the traced call "outermost".
    explicit Process(const std::function<void(const TemporaryFolder&)>& body, int maximumLines = 100000) {
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

    /// To be called by a body that does not return.
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

    /// Ends the process if it has not, and expects everything: what was traced and logged before, the cause,
    /// the stacks, the counts.
    void expectWholeRecord(const std::string& cause = "SIGNAL_|UNKNOWN SIGNAL") {
        end();
        EXPECT_TRUE(WIFEXITED(m_status) && WEXITSTATUS(m_status) == 0) << m_status;
        const std::string whole = trace();
        EXPECT_THAT(whole, HasSubstr(">> [D] traced\n"));
        EXPECT_THAT(whole, testing::ContainsRegex("SIGNAL_FILTER\n.*>> \\[E\\] (" + cause + ")"));
        EXPECT_THAT(whole, HasSubstr("-------------- CALLSTACK --------------\n"));
        EXPECT_THAT(whole, HasSubstr("[1] outermost\n"));
        EXPECT_THAT(whole, testing::ContainsRegex("OBJECT\\(S\\) COUNT --------------\n"
                                                  "(.*\n)*---------------------------------------------\n"));
        EXPECT_THAT(log(), HasSubstr("[ERROR  ] logged\n"));
        EXPECT_THAT(readFile(m_folder / "errors"), testing::Not(HasSubstr("can't open")));
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
        Tracer* const tracer = new Tracer; // as the launcher's: they live to the end of the process
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
    static int m_ready;
    pid_t m_pid = -1;
    bool m_isReady = false;
    int m_status = 0;
    double m_seconds = 0;
};

int Process::m_ready = -1;

/// The same in many rounds; ends at the first that is not whole.
void expectWholeRecords(const std::function<void(int round)>& round) {
    for (int number = 0; number < ROUNDS; ++number) {
        round(number);
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "in round " << number;
            return;
        }
    }
}

/// Lets some time pass, another one each round: so that signals come at other moments.
void letPass(int round) {
    std::this_thread::sleep_for(std::chrono::microseconds(round * 37 % 2000));
}

} // namespace

// ---- Stopping

/// The signal that stops, and the one behind it; 0: none.
class Stop : public testing::TestWithParam<std::pair<int, int>> {};

// A service manager sends 18 right behind the signal that stops, and so does a terminal that closes.
TEST_P(Stop, LeavesAWholeRecordWhateverSignalComesNext) {
    expectWholeRecords([](int) {
        Process process([](const TemporaryFolder&) {});
        process.send(GetParam().first);
        if (GetParam().second != 0)
            process.send(GetParam().second);
        process.expectWholeRecord();
    });
}

INSTANTIATE_TEST_SUITE_P(CrashRecord, Stop,
                         testing::Values(std::pair(15, 0), std::pair(15, 18), std::pair(15, 15),
                                         std::pair(1, 0), std::pair(1, 18), std::pair(1, 1), std::pair(2, 0),
                                         std::pair(2, 18), std::pair(2, 2)),
                         [](const auto& tested) {
                             return "Signal" + std::to_string(tested.param.first) + "Then" +
                                    std::to_string(tested.param.second);
                         });

TEST(CrashRecord, IsWholeWhenAnotherThreadFaultsDuringAStop) {
    expectWholeRecords([](int round) {
        int start[2];
        ASSERT_EQ(pipe(start), 0);
        Process process([&start](const TemporaryFolder&) {
            std::thread([&start] {
                TRACE_FUNCTION("faulting");
                char byte = 0;
                if (read(start[0], &byte, 1) == 1)
                    touchAForbiddenPage();
            }).detach();
        });
        if (round % 2 == 0) {
            process.send(15);
            ASSERT_EQ(write(start[1], "x", 1), 1);
        } else {
            ASSERT_EQ(write(start[1], "x", 1), 1);
            process.send(15);
        }
        process.expectWholeRecord();
        close(start[0]);
        close(start[1]);
    });
}

TEST(CrashRecord, IsWholeWhenTheProcessStopsInItsFirstMilliseconds) {
    expectWholeRecords([](int round) {
        Process process([](const TemporaryFolder&) {
            Process::tellReady();
            for (;;) {
                TRACE_FUNCTION("starting");
                LOG_MESSAGE(MSG_ERROR, "starting");
            }
        });
        letPass(round);
        process.send(15);
        process.expectWholeRecord();
    });
}

// ---- Crashing

TEST(CrashRecord, IsWholeWhenTwoThreadsFaultAtOnce) {
    expectWholeRecords([](int) {
        Process process([](const TemporaryFolder&) {
            static std::atomic<int> waiting{0};
            for (int i = 0; i < 2; ++i)
                std::thread([] {
                    TRACE_FUNCTION("faulting");
                    ++waiting;
                    while (waiting < 2) { // without yielding: both are to fault in the same moment
                    }
                    touchAForbiddenPage();
                }).detach();
        });
        process.expectWholeRecord("SIGNAL_SEGMENTATION_FAULT|SIGNAL_BUS_ERROR");
    });
}

// The report registers it under its number.
TEST(CrashRecord, IsWholeOnAThreadThatHasNeverTraced) {
    Process process([](const TemporaryFolder&) { std::thread(touchAForbiddenPage).join(); });
    process.expectWholeRecord("SIGNAL_SEGMENTATION_FAULT|SIGNAL_BUS_ERROR");
    EXPECT_THAT(process.trace(),
                testing::ContainsRegex("\\[th_[-0-9]+ *\\]\\[th_[-0-9]+ *\\]    \\[1\\] SIGNAL_FILTER\n"));
}

static void callDeeply(int depth) {
    TRACE_FUNCTION("deep");
    if (depth > 1)
        callDeeply(depth - 1);
    else
        raise(11);
}

// The memory of the stack of calls doubles when it is full: the report's own call must fit in all the same.
TEST(CrashRecord, IsWholeHoweverDeepTheCallsAre) {
    for (const int depth : {28, 29, 30, 31, 32, 60, 61, 62, 63, 64, 1000}) {
        Process process([depth](const TemporaryFolder&) { callDeeply(depth); });
        process.expectWholeRecord();
        EXPECT_THAT(process.trace(), HasSubstr("    [" + std::to_string(depth + 2) + "] SIGNAL_FILTER\n"));
        EXPECT_THAT(process.trace(), HasSubstr("    [" + std::to_string(depth + 1) + "] deep\n"));
    }
}

TEST(CrashRecord, IsWholeWhenAThreadKeepsTheTracersLock) {
    Process process([](const TemporaryFolder&) {
        static std::atomic<bool> isHeld{false};
        std::thread([] {
            Tracer::GetInstance()->getLock().acquire();
            isHeld = true;
            for (;;)
                pause();
        }).detach();
        while (!isHeld)
            std::this_thread::yield();
    });
    process.send(15);
    process.expectWholeRecord();
}

TEST(CrashRecord, HasTheLogsLinesWhenAnotherThreadHasItsLockForAMoment) {
    Process process([](const TemporaryFolder& folder) {
        static std::atomic<bool> isHeld{false};
        const std::string path = folder / "trace_0.txt";
        std::thread([path] {
            Logger::GetInstance()->getLock().acquire();
            isHeld = true;
            // Until the log's turn has come.
            waitUntil([&] {
                return access(path.c_str(), F_OK) == 0 &&
                       readFile(path).find("\n---------------------------------------------\n") !=
                           std::string::npos;
            });
            Logger::GetInstance()->getLock().release();
        }).detach();
        while (!isHeld)
            std::this_thread::yield();
    });
    process.send(15);
    process.expectWholeRecord();
}

TEST(CrashRecord, IsWholeWhenTheSignalMeetsAThreadThatTraces) {
    expectWholeRecords([](int round) {
        Process process([](const TemporaryFolder&) {
            Process::tellReady();
            for (int i = 0;; ++i) {
                TRACE_FUNCTION("tracing");
                TRACE_MESSAGE(MSG_DEBUG, "message %d", i);
                const Counted counted;
                if (i % 100 == 0)
                    Tracer::GetInstance()->WriteOnFile();
            }
        });
        letPass(round);
        process.send(15);
        process.expectWholeRecord();
    });
}

TEST(CrashRecord, IsWholeWhenTheSignalMeetsAThreadThatLogs) {
    expectWholeRecords([](int round) {
        Process process([](const TemporaryFolder&) {
            Process::tellReady();
            const std::string text(1000, 'x');
            for (int i = 0;; ++i) {
                LOG_MESSAGE(MSG_ERROR, "%s", text.c_str());
                if (i % 100 == 0)
                    Logger::GetInstance()->WriteOnFile();
            }
        });
        letPass(round);
        process.send(15);
        process.expectWholeRecord();
    });
}

// The sanitizers' own memory allocators find these crashes first, or keep signals back.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

TEST(CrashRecord, IsWholeWhenMallocFindsTheHeapDestroyed) {
    expectWholeRecords([](int) {
        Process process([](const TemporaryFolder&) {
            Process::tellReady();
            // A block that is so large is new: behind it stands what malloc keeps of the rest.
            for (;;) {
                char* const block = static_cast<char*>(std::malloc(100000));
                std::memset(block, 0x41, malloc_usable_size(block) + sizeof(std::size_t));
            }
        });
        process.expectWholeRecord("SIGNAL_ABORT|SIGNAL_SEGMENTATION_FAULT");
    });
}

TEST(CrashRecord, IsWholeWhenTheSignalComesInsideMalloc) {
    expectWholeRecords([](int round) {
        Process process([](const TemporaryFolder&) {
            Process::tellReady();
            std::vector<void*> blocks(64);
            for (std::size_t i = 0;; ++i) {
                std::free(blocks[i % 64]);
                blocks[i % 64] = std::malloc(1500 + i * 7919 % 100000);
            }
        });
        letPass(round);
        process.send(15);
        process.expectWholeRecord();
    });
}

TEST(CrashRecord, IsWholeWhileOtherThreadsAllocateAllTheTime) {
    expectWholeRecords([](int round) {
        Process process([](const TemporaryFolder&) {
            for (int thread = 0; thread < 4; ++thread)
                std::thread([] {
                    for (std::size_t i = 0;; ++i)
                        delete[](new char[1500 + i * 7919 % 100000]);
                }).detach();
        });
        letPass(round);
        process.send(11);
        process.expectWholeRecord();
    });
}

#endif

// ---- The ring

// The drain that begins the report goes on to other files, and what follows must not empty the last of them.
TEST(CrashRecord, IsWholeForEveryFileSize) {
    for (int size = 2; size <= LAST_SIZE; ++size) {
        Process process(
            [](const TemporaryFolder&) {
                TRACE_FUNCTION("inner");
                for (int i = 0; i < 20; ++i)
                    TRACE_MESSAGE(MSG_DEBUG, "before %d.", i);
                raise(15);
            },
            size);
        process.expectWholeRecord();
        for (int i = 0; i < 20; ++i)
            EXPECT_THAT(process.trace(), HasSubstr(">> [D] before " + std::to_string(i) + ".\n")) << size;
        if (HasFailure()) {
            ADD_FAILURE() << "with files of " << size << " lines";
            return;
        }
    }
}

// Signal 25 comes in the middle of a drain, and the file that is full takes no report.
TEST(CrashRecord, IsWholeWhenTheTraceFileMayNotGrowAnyMore) {
    Process process([](const TemporaryFolder&) {
        TRACE_FUNCTION("inner");
        const rlimit limit = {20000, 20000};
        setrlimit(RLIMIT_FSIZE, &limit);
        for (;;) {
            TRACE_MESSAGE(MSG_DEBUG, "growing");
            Tracer::GetInstance()->WriteOnFile();
        }
    });
    process.expectWholeRecord("UNKNOWN SIGNAL");
}

TEST(CrashRecord, IsWholeWhenTheReportAloneFillsMoreThanAFile) {
    Process process([](const TemporaryFolder& folder) {
        TRACE_FUNCTION("inner");
        for (int index = 1; index < 20; ++index) // of runs before, as full
            writeFile(folder / ("trace_" + std::to_string(index) + ".txt"), std::string(2000, 'o'));
        const rlimit limit = {2000, 2000};
        setrlimit(RLIMIT_FSIZE, &limit);
        for (int i = 0; i < 100; ++i)
            TRACE_MESSAGE(MSG_DEBUG, "waiting %d.", i);
        raise(11);
    });
    process.expectWholeRecord("SIGNAL_SEGMENTATION_FAULT");
    for (int i = 0; i < 100; ++i)
        EXPECT_THAT(process.trace(), HasSubstr("waiting " + std::to_string(i) + ".\n"));
}
