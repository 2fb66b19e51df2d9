#include "DetachedProcess.h"
#include "AllSignalsBlocked.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

// How a process is started that is not a child of this one.
//
//   this process -- clone, exit signal 0 --> middle process -- clone --> the program
//
// An exec resets the exit signal of every process to SIGCHLD, so a direct child cannot run a program and end
// silently. The middle process never execs: it is waited for, by its id, and its end sends no signal. Its own
// child, the program, is adopted by init, or by the user's service manager, when the middle process ends.
//
// Both use this process's memory, each on a stack of its own, because copying the page tables twice takes
// longer than all the rest of a start. CLONE_VFORK makes each parent wait until its child has ended or called
// exec, so the calling thread does not interfere; the other threads go on. Between clone and exec only code
// runs that is safe beside them: system calls, some of them made directly, because a preloaded library may
// have put a lock around the C library's function. What these calls change, apart from errno, belongs to the
// new process alone.

// A sanitizer cannot track the stacks and signal actions of several processes in one memory: under it, each
// process gets a copy.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZEVO_COPIES_MEMORY 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZEVO_COPIES_MEMORY 1
#endif
#endif
#ifndef ZEVO_COPIES_MEMORY
#define ZEVO_COPIES_MEMORY 0
#endif

namespace LinuxPlatform {

namespace {

/// The umask that the user's session set. Read before main(), because the product sets it to 0 for its own
/// folders.
mode_t readFileModeMask() {
    const mode_t mask = ::umask(022);
    ::umask(mask);
    return mask;
}
const mode_t FILE_MODE_MASK_AT_START = readFileModeMask();

struct Outcome {
    pid_t pid;
    int error;
};

/// Memory that this process shares with the two it starts, even if they have copies of the rest. It is never
/// freed, so that the next start finds its pages in place; a forked process, which would share it too,
/// allocates its own.
class SharedMemory {
public:
    /// False if there is no memory.
    bool prepare() {
        if (m_content == nullptr || m_owner != ::getpid()) {
            void* memory = ::mmap(nullptr, sizeof(Content), PROT_READ | PROT_WRITE,
                                  MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
            if (memory == MAP_FAILED)
                return false;
            m_content = static_cast<Content*>(memory);
            m_owner = ::getpid();
        }
        m_content->outcome = {0, 0};
        return true;
    }
    volatile Outcome* outcome() const { return &m_content->outcome; }
    /// The highest address of each stack: stacks grow down.
    void* stackOfMiddleProcess() const { return m_content->stacks[0] + STACK_SIZE; }
    void* stackOfProgram() const { return m_content->stacks[1] + STACK_SIZE; }

private:
    static const std::size_t STACK_SIZE = 64 * 1024;
    struct Content {
        alignas(64) char stacks[2][STACK_SIZE];
        alignas(64) Outcome outcome;
    };
    Content* m_content = nullptr;
    pid_t m_owner = -1;
};

/// A process that adopts orphans would adopt the program, and get a SIGCHLD at its end.
class NoAdoption {
public:
    NoAdoption() {
        ::prctl(PR_GET_CHILD_SUBREAPER, &m_before, 0, 0, 0);
        if (m_before != 0)
            ::prctl(PR_SET_CHILD_SUBREAPER, 0, 0, 0, 0);
    }
    ~NoAdoption() {
        if (m_before != 0)
            ::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
    }
    NoAdoption(const NoAdoption&) = delete;
    NoAdoption& operator=(const NoAdoption&) = delete;

private:
    int m_before = 0;
};

/// Everything that the two processes need, prepared before the first of them exists.
struct Preparation {
    const char* file;
    char* const* arguments;
    char* const* environment;
    char* pidDigits;
    std::size_t pidWidth;
    const SharedMemory* shared;
};

struct NewProcess {
    void (*run)(const Preparation&); // does not return
    const Preparation* preparation;
};

int runNewProcess(void* process) {
    const NewProcess& what = *static_cast<const NewProcess*>(process);
    what.run(*what.preparation);
    return 0;
}

/// Returns the id of the new process once that has ended or called exec; -1, with errno, if it was not
/// created.
long startProcess(NewProcess process, int exitSignal, void* stack) {
#if ZEVO_COPIES_MEMORY
    static_cast<void>(stack);
    const long flags = CLONE_VFORK | exitSignal;
#if defined(__s390__)
    const long pid = ::syscall(SYS_clone, nullptr, flags, nullptr, nullptr, nullptr);
#else
    const long pid = ::syscall(SYS_clone, flags, nullptr, nullptr, nullptr, nullptr);
#endif
    return pid == 0 ? runNewProcess(&process) : pid;
#else
    return ::clone(runNewProcess, stack, CLONE_VM | CLONE_VFORK | exitSignal, &process);
#endif
}

[[noreturn]] void endProcess() {
    for (;;)
        ::syscall(SYS_exit_group, 0);
}

void setAllSignals(void (*disposition)(int)) {
    struct sigaction action = {};
    action.sa_handler = disposition;
    for (int signal = 1; signal <= SIGRTMAX; ++signal)
        ::sigaction(signal, &action, nullptr);
}

/// Ignoring a signal for a moment also discards a pending one: what was sent to the launcher's process group
/// before this process left it was not meant for the program.
void resetSignals() {
    sigset_t pending;
    if (::sigpending(&pending) != 0 || !::sigisemptyset(&pending))
        setAllSignals(SIG_IGN);
    setAllSignals(SIG_DFL);
}

bool putNullDeviceOnStandardFiles() {
    const long nullDevice = ::syscall(SYS_openat, AT_FDCWD, "/dev/null", O_RDWR, 0);
    if (nullDevice < 0)
        return false;
    for (int file = 0; file <= 2; ++file) {
        // The null device already has one of these numbers if this process had no file there.
        if (file != nullDevice && ::syscall(SYS_dup3, nullDevice, file, 0) < 0)
            return false;
    }
    if (nullDevice > 2)
        ::syscall(SYS_close, nullDevice);
    return true;
}

void writeDigits(char* digits, std::size_t width, pid_t pid) {
    for (std::size_t i = width; i > 0; --i, pid /= 10)
        digits[i - 1] = static_cast<char>('0' + pid % 10);
}

[[noreturn]] void becomeProgram(const Preparation& preparation) {
    ::setsid();
    resetSignals();
    ::umask(FILE_MODE_MASK_AT_START);
    writeDigits(preparation.pidDigits, preparation.pidWidth, ::getpid());
    if (!closeFilesByRange())
        closeFilesByListing();
    if (putNullDeviceOnStandardFiles() && ::chdir("/") == 0) {
        sigset_t none;
        ::sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        ::execve(preparation.file, preparation.arguments, preparation.environment);
    }
    preparation.shared->outcome()->error = errno;
    endProcess();
}

[[noreturn]] void runMiddleProcess(const Preparation& preparation) {
    const long pid =
        startProcess({becomeProgram, &preparation}, SIGCHLD, preparation.shared->stackOfProgram());
    if (pid < 0)
        preparation.shared->outcome()->error = errno;
    else if (preparation.shared->outcome()->error != 0)
        ::syscall(SYS_wait4, pid, nullptr, 0, nullptr); // reaped here, not by its adopter
    preparation.shared->outcome()->pid = static_cast<pid_t>(pid);
    endProcess();
}

/// Starts the middle process and waits for its end.
int runBothProcesses(const Preparation& preparation) {
    const AllSignalsBlocked blocked; // a handler would write to files that all of them share
    const NoAdoption noAdoption;
    const long middle =
        startProcess({runMiddleProcess, &preparation}, 0, preparation.shared->stackOfMiddleProcess());
    if (middle < 0)
        return errno;
    int status = 0;
    while (::waitpid(static_cast<pid_t>(middle), &status, __WALL) < 0 && errno == EINTR) {
    }
    const bool gotThrough = WIFEXITED(status) && preparation.shared->outcome()->pid > 0;
    return gotThrough || preparation.shared->outcome()->error != 0 ? preparation.shared->outcome()->error
                                                                   : ECHILD;
}

} // namespace

bool closeFilesByRange() {
#if defined(SYS_close_range)
    return ::syscall(SYS_close_range, 3u, UINT_MAX, 0u) == 0;
#else
    return false;
#endif
}

void closeFilesByListing() {
    const int folder = static_cast<int>(
        ::syscall(SYS_openat, AT_FDCWD, "/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0));
    alignas(struct dirent64) char entries[4096];
    for (;;) {
        const long length = ::syscall(SYS_getdents64, folder, entries, sizeof entries);
        if (length <= 0)
            break;
        for (long at = 0; at < length;) {
            const auto* entry = reinterpret_cast<const struct dirent64*>(entries + at);
            at += entry->d_reclen;
            int file = 0;
            for (const char* digit = entry->d_name; *digit >= '0' && *digit <= '9'; ++digit)
                file = 10 * file + (*digit - '0');
            if (file > 2 && file != folder)
                ::syscall(SYS_close, file);
        }
    }
    ::syscall(SYS_close, folder);
}

int startDetached(DetachedProcess plan, pid_t& pid) {
    static SharedMemory shared;
    if (!shared.prepare())
        return ENOMEM;

    std::vector<char*> environment;
    for (std::string& entry : plan.environment)
        environment.push_back(entry.data());
    environment.push_back(nullptr);
    char* const arguments[] = {plan.file.data(), nullptr};
    char* const pidDigits = plan.pidWidth == 0 ? nullptr : &plan.environment.front()[plan.pidPlace];
    const Preparation preparation = {plan.file.c_str(), arguments,     environment.data(),
                                     pidDigits,         plan.pidWidth, &shared};

    const int error = runBothProcesses(preparation);
    if (error == 0)
        pid = shared.outcome()->pid;
    return error;
}

} // namespace LinuxPlatform
