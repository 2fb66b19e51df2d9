#include "RecordedProcess.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <thread>
#include <unistd.h>

// Crashes that this host's malloc detects. The sanitizers' own memory allocators would detect them first.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

TEST(CrashRecordLinux, IsWholeWhenMallocFindsTheHeapDestroyed) {
    expectWholeRecords([](int) {
        RecordedProcess process([](const TemporaryFolder&) {
            RecordedProcess::tellReady();
            // So large a block is new: it is followed by malloc's own record of the remaining memory.
            for (;;) {
                char* const block = static_cast<char*>(std::malloc(100000));
                std::memset(block, 0x41, malloc_usable_size(block) + sizeof(std::size_t));
            }
        });
        process.expectWholeRecord("SIGNAL_ABORT|SIGNAL_SEGMENTATION_FAULT");
    });
}

// The C library's memory allocator, which the definitions below wrap: they can block their callers for ever,
// as would a lock that a crash has left locked.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

static std::atomic<bool> isMallocStuck{false};

static void waitForEverIfStuck() {
    while (isMallocStuck)
        pause();
}

extern "C" void* malloc(std::size_t size) noexcept {
    waitForEverIfStuck();
    return __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size) noexcept {
    waitForEverIfStuck();
    return __libc_calloc(count, size);
}

extern "C" void* realloc(void* block, std::size_t size) noexcept {
    waitForEverIfStuck();
    return __libc_realloc(block, size);
}

extern "C" void* memalign(std::size_t alignment, std::size_t size) noexcept {
    waitForEverIfStuck();
    return __libc_memalign(alignment, size);
}

extern "C" void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return memalign(alignment, size);
}

extern "C" int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
    *block = memalign(alignment, size);
    return *block != nullptr ? 0 : ENOMEM;
}

extern "C" void free(void* block) noexcept {
    waitForEverIfStuck();
    __libc_free(block);
}

static void crashWithoutMemory(int sig) {
    isMallocStuck = true;
    raise(sig);
}

// Each signal has a text of its own; that of 30 comes from the record of a broken contract.
TEST(CrashRecordLinux, IsWholeWhenMemoryCanNeitherBeHadNorGivenBack) {
    for (const int sig : {1, 7, 11, 15, 30}) {
        RecordedProcess process([sig](const TemporaryFolder&) {
            TRACE_FUNCTION("inner");
            crashWithoutMemory(sig);
        });
        process.expectWholeRecord(sig == 30 ? " :  - In File :  - At Line : " : "SIGNAL_|UNKNOWN SIGNAL");
    }
}

TEST(CrashRecordLinux, IsWholeWithoutMemoryOnAThreadThatHasNeverTraced) {
    RecordedProcess process(
        [](const TemporaryFolder&) { std::thread([] { crashWithoutMemory(11); }).join(); });
    process.expectWholeRecord();
}

// The report rotates to other files, too.
TEST(CrashRecordLinux, IsWholeWithoutMemoryHoweverSmallTheFilesAre) {
    for (const int size : {2, 3, 5, 8, 13}) {
        RecordedProcess process(
            [](const TemporaryFolder&) {
                TRACE_FUNCTION("inner");
                for (int i = 0; i < 20; ++i)
                    TRACE_MESSAGE(MSG_DEBUG, "before %d.", i);
                crashWithoutMemory(11);
            },
            size);
        process.expectWholeRecord();
        EXPECT_THAT(process.trace(), testing::HasSubstr(">> [D] before 19.\n"));
    }
}

#endif
