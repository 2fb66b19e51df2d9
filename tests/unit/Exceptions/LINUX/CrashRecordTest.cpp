#include "RecordedProcess.h"

#include <cstdlib>
#include <cstring>
#include <malloc.h>

// How this host's malloc finds out that something is wrong. The sanitizers' own memory allocators find it first.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

TEST(CrashRecordLinux, IsWholeWhenMallocFindsTheHeapDestroyed) {
    expectWholeRecords([](int) {
        RecordedProcess process([](const TemporaryFolder&) {
            RecordedProcess::tellReady();
            // A block that is so large is new: behind it stands what malloc keeps of the rest.
            for (;;) {
                char* const block = static_cast<char*>(std::malloc(100000));
                std::memset(block, 0x41, malloc_usable_size(block) + sizeof(std::size_t));
            }
        });
        process.expectWholeRecord("SIGNAL_ABORT|SIGNAL_SEGMENTATION_FAULT");
    });
}

#endif
