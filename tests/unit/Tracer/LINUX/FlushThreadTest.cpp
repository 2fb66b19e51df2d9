#include "detail/FlushThread.h"

#include "Logged.h"
#include "WaitUntil.h"

#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <fstream>
#include <memory>

// What this host alone tells of threads that wait.

namespace {

/// Whether a thread of this process waits in the kernel for the mutex: proc(5), /proc/<pid>/syscall.
bool isAwaited(KFMutex& mutex) {
    char address[32];
    std::snprintf(address, sizeof address, "0x%llx", // the first argument of its system call
                  static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(mutex.getHandle())));
    const std::unique_ptr<DIR, int (*)(DIR*)> threads(opendir("/proc/self/task"), &closedir);
    while (const dirent* thread = threads ? readdir(threads.get()) : nullptr) {
        std::ifstream file(std::string("/proc/self/task/") + thread->d_name + "/syscall");
        std::string number;
        std::string argument;
        if (file >> number >> argument && argument == address)
            return true;
    }
    return false;
}

} // namespace

using FlushThreadThatWaits = Logged;

TEST_F(FlushThreadThatWaits, DestroyedWithALockThatAFailedOpenHasKeptTheLoggerEndsItsFlushThread) {
    Logger logger;
    logger.SetFileName(m_folder / "missing/log");
    logger.Initialize();
    logger.PrintMsg(MSG_ERROR, "waits");
    testing::internal::CaptureStderr();
    logger.WriteOnFile(); // the lock is this thread's from now on
    EXPECT_TRUE(waitUntil([&] { return isAwaited(logger.getLock()); }));
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}
