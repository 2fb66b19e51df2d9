#include "RecordedProcess.h"

#include "ForbiddenPage.h"
#include "WaitUntil.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <gmock/gmock.h>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

// The record of a process that stops or crashes must be whole every time, however the crash is detected and
// whatever it interrupts. So each case runs many times, with the crash at a different moment each time.

using testing::HasSubstr;

namespace {

constexpr int LAST_SIZE = 60;

/// An object that appears in the object counts.
class Counted {
public:
    Counted() { TRACE_CONSTRUCTOR("Counted"); }
    ~Counted() { TRACE_DESTRUCTOR("Counted"); }
};

} // namespace

// ---- Stopping

/// The signal that stops the process, and one that follows at once; 0: none.
class Stop : public testing::TestWithParam<std::pair<int, int>> {};

// A service manager sends signal 18 right after the one that stops, and so does a terminal that closes.
TEST_P(Stop, LeavesAWholeRecordWhateverSignalComesNext) {
    expectWholeRecords([](int) {
        RecordedProcess process([](const TemporaryFolder&) {});
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
        RecordedProcess process([&start](const TemporaryFolder&) {
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
        RecordedProcess process([](const TemporaryFolder&) {
            RecordedProcess::tellReady();
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
        RecordedProcess process([](const TemporaryFolder&) {
            static std::atomic<int> waiting{0};
            for (int i = 0; i < 2; ++i)
                std::thread([] {
                    TRACE_FUNCTION("faulting");
                    ++waiting;
                    while (waiting < 2) { // without yielding, so that both fault at the same moment
                    }
                    touchAForbiddenPage();
                }).detach();
        });
        process.expectWholeRecord("SIGNAL_SEGMENTATION_FAULT|SIGNAL_BUS_ERROR");
    });
}

// The report registers the thread under its number.
TEST(CrashRecord, IsWholeOnAThreadThatHasNeverTraced) {
    RecordedProcess process([](const TemporaryFolder&) { std::thread(touchAForbiddenPage).join(); });
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

// The memory of the call stack doubles when it is full: the report's own call must fit in at every depth.
TEST(CrashRecord, IsWholeHoweverDeepTheCallsAre) {
    for (const int depth : {28, 29, 30, 31, 32, 60, 61, 62, 63, 64, 1000}) {
        RecordedProcess process([depth](const TemporaryFolder&) { callDeeply(depth); });
        process.expectWholeRecord();
        EXPECT_THAT(process.trace(), HasSubstr("    [" + std::to_string(depth + 2) + "] SIGNAL_FILTER\n"));
        EXPECT_THAT(process.trace(), HasSubstr("    [" + std::to_string(depth + 1) + "] deep\n"));
    }
}

TEST(CrashRecord, IsWholeWhenAThreadKeepsTheTracersLock) {
    RecordedProcess process([](const TemporaryFolder&) {
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
    RecordedProcess process([](const TemporaryFolder& folder) {
        static std::atomic<bool> isHeld{false};
        const std::string path = folder / "trace_0.txt";
        std::thread([path] {
            Logger::GetInstance()->getLock().acquire();
            isHeld = true;
            // Until the trace is complete, and the handler turns to the log.
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
        RecordedProcess process([](const TemporaryFolder&) {
            RecordedProcess::tellReady();
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
        RecordedProcess process([](const TemporaryFolder&) {
            RecordedProcess::tellReady();
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

// The sanitizers' own memory allocators detect these crashes first, or delay signals.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

TEST(CrashRecord, IsWholeWhenTheSignalComesInsideMalloc) {
    expectWholeRecords([](int round) {
        RecordedProcess process([](const TemporaryFolder&) {
            RecordedProcess::tellReady();
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
        RecordedProcess process([](const TemporaryFolder&) {
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

// The drain that begins the report rotates, and what follows must not empty the file that it has begun.
TEST(CrashRecord, IsWholeForEveryFileSize) {
    for (int size = 2; size <= LAST_SIZE; ++size) {
        RecordedProcess process(
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

// Signal 25 comes in the middle of a drain, and the full file has no room for the report.
TEST(CrashRecord, IsWholeWhenTheTraceFileMayNotGrowAnyMore) {
    RecordedProcess process([](const TemporaryFolder&) {
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
    RecordedProcess process([](const TemporaryFolder& folder) {
        TRACE_FUNCTION("inner");
        for (int index = 1; index < 20; ++index) // of former runs, just as full
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
