#pragma once

#include "KFMutex.h"
#include "MessageType.h"
#include "ThreadAnnotations.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CallMarker;
class ThreadTracer;
class TracerFlushThread;
namespace kf::detail {
class CallSite;
class FileRing;
} // namespace kf::detail

/// Records, per thread, the entry and exit of every traced call and the messages inside it, as an indented
/// call tree in a ring of text files. One object, reached through GetInstance(). Start-up creates and
/// registers it, sets its folder and makes it read its configuration. Functions are traced through
/// CallMarker.h.
///
/// Thread: any, unless said otherwise. One recursive lock guards everything. It is held while a line is
/// built, so that the lines of several threads never interleave.
class Tracer {
public:
    Tracer();
    /// Stops the flush thread. Lines that are still queued are dropped; FinishTracing() writes them. No
    /// thread may be in a traced call. If this tracer is the registered one, GetInstance() then returns null.
    ~Tracer();

    Tracer(const Tracer&) = delete;
    Tracer& operator=(const Tracer&) = delete;

    /// The registered tracer, or null.
    static Tracer* GetInstance() { return m_Instance.load(std::memory_order_acquire); }
    /// Registers the tracer, which the caller still owns. A null pointer breaks the contract.
    static void SetInstance(Tracer* pTheTracer);

    /// Whether a tracer is registered and enabled. Check this before using GetInstance().
    static bool isActive() {
        Tracer* const tracer = GetInstance();
        return tracer != nullptr && tracer->isEnabled();
    }
    /// As isActive() without the lock: for the crash handler, which must not wait for it.
    static bool mayBeActive() {
        Tracer* const tracer = GetInstance();
        return tracer != nullptr && tracer->m_enabled.load(std::memory_order_relaxed);
    }
    /// Takes no lock if the tracer is disabled.
    bool isEnabled() {
        if (!m_enabled.load(std::memory_order_relaxed))
            return false;
        const Lock lock(*this);
        return m_enabled.load(std::memory_order_relaxed);
    }

    // ---- configuration

    /// Reads a trace configuration file, and starts tracing if it says so. A missing file only causes a
    /// warning. A syntax error, or an enabled tracer without a file name, ends the process with status 1.
    void ReadConfigFile(const char* fileName);
    /// The folder for bare file names, with its trailing separator.
    void SetFolderName(std::string folderName);
    /// Chooses the output: "console", "msvc" (nowhere), a bare name in the folder, or a path; "_<index>.txt"
    /// is appended to a file name. Every run starts over with file 0.
    void SetFileName(std::string name);
    /// Recomputes the current file's name; the next drain empties that file.
    void UpdateFileName();

    void setEnabled(bool enabled);
    /// Whether every line is written at once. A flush thread that runs keeps running.
    void setDirectWrite(bool directWrite);
    void setMaximumFiles(std::int32_t files);
    void setMaximumLinesPerFile(std::int32_t lines);
    /// Adds message types to the mask.
    void addToLevelMask(std::uint32_t types) { m_levelMask.fetch_or(types, std::memory_order_relaxed); }
    void setBarIndentation(bool on) { m_barIndentation = on; }
    void setIndentHiddenCalls(bool on) { m_indentHiddenCalls = on; }
    void setPrintExits(bool on) { m_printExits = on; }
    void setPrintTime(bool on);
    void setPrintObjectCountAndAddress(bool on) { m_printObjectCountAndAddress = on; }

    std::uint32_t getLevelMask() const { return m_levelMask.load(std::memory_order_relaxed); }
    bool hasBarIndentation() const { return m_barIndentation; }
    bool indentsHiddenCalls() const { return m_indentHiddenCalls; }
    bool printsExits() const { return m_printExits; }
    bool printsTime() const { return m_printTime; }
    bool printsObjectCountAndAddress() const { return m_printObjectCountAndAddress; }

    // ---- filters

    /// Permits the threads that the pattern matches. "*" matches all names, "Main*" those that begin with
    /// Main, "*Worker" those that end in Worker. Not null, not empty.
    void TraceTheThread(const char* threadName);
    /// Permits the calls that the pattern matches, for instance "Class::*". With a leading "-" it forbids
    /// them, and then "-*text*" matches every call that contains the text. Not null, not empty.
    void TraceTheCall(const char* className);
    /// Whether a pattern matches the name. Without a pattern, nothing is permitted.
    bool isThreadPermittedToPrint(std::string_view name);
    bool isCallPermittedToPrint(std::string_view name);
    /// A forbidden call is hidden even if it is also permitted.
    bool isCallForbiddenToPrint(std::string_view name);
    /// Whether the call is permitted and not forbidden. The call site caches that until the filters change.
    bool isPrinted(kf::detail::CallSite& site);
    /// "void ZevoLauncher::init(int)" gives "ZevoLauncher::init".
    static std::string extractMethodName(const char* prettyName);

    // ---- threads and calls

    /// Registers the calling thread under this name, if the filters permit the name and the thread is not
    /// registered yet. Not null. A thread that never calls this is registered as "th_<id>" by its first
    /// traced call.
    void BeginningOfThread(const char* threadName);
    /// Ends the calling thread's trace, if it has one.
    void EndOfThread();
    /// Switches the tracing of the calling thread's calls on or off.
    void Enable();
    void Disable();

    /// Records the begin of a call on the calling thread, unless the tracer is disabled. Takes the lock.
    void BeginningOfCall(CallMarker& marker);
    /// As BeginningOfCall(), called by the marker itself. Takes no lock for a call that writes no line.
    void beginCall(CallMarker& marker);
    /// Records the end of a call. Does nothing if the tracer is disabled, if another tracer recorded the
    /// call, or if the thread has ended its trace. Called by the marker itself. Takes no lock for a recorded
    /// call that writes no exit line.
    void EndOfCall(CallMarker& marker);
    /// The calling thread's tracer, if it has recorded this call and the tracer is enabled; otherwise null.
    /// Valid until the calling thread ends its trace.
    ThreadTracer* threadTracerOf(const CallMarker& marker);
    /// Counts an object up or down. Returns the number of living objects of the marker's class; 0 without a
    /// class.
    int UpdateObjectCount(const CallMarker& marker);

    // ---- output

    /// Queues or outputs one finished line, which ends in "\n".
    void PrintString(std::string_view line);
    /// Writes the queued lines. A file that cannot be opened is reported on standard error, and the lines
    /// stay queued.
    void WriteOnFile();
    /// Disables the tracer, writes every queued line that can be written, and silences the flush thread. A
    /// line that is printed later is written at once.
    void FinishTracing();
    /// To be called before the process is ended: finishes the trace of the registered tracer, if there is
    /// one, it is enabled and it has a file name. Even if nothing was traced, the file of an earlier run is
    /// emptied.
    static void FinishBeforeExit();
    /// Writes the call stacks of all traced threads.
    void PrintStacks();
    /// Writes the number of living objects per class, even if the calling thread is not traced.
    void PrintAllObjectsCount();

    // ---- for the crash handler

    /// The calling thread begins to report a crash: the queued lines are written, then every line at once
    /// (direct write). Until EndReport() nothing here allocates. Waits for the lock at most a second, since
    /// the crash may have interrupted its owner; after that this thread continues without the lock.
    void BeginReport() KF_NO_THREAD_SAFETY_ANALYSIS; // the analysis cannot express a lock that may be lost
    /// Ends the report. Other threads may then write lines again.
    void EndReport() KF_NO_THREAD_SAFETY_ANALYSIS;
    /// Whether a report has begun and not ended. The tracer's lock is held.
    bool isReporting() const { return m_isReporting.load(std::memory_order_relaxed); }

    /// Holds the tracer's lock for a scope. The thread that reports a crash takes no lock: it already holds
    /// it, or has given up on it.
    class KF_SCOPED_CAPABILITY Lock {
    public:
        explicit Lock(Tracer& tracer) KF_ACQUIRE(tracer.m_lock)
            : m_mutex(tracer.goesWithoutLock() ? nullptr : &tracer.m_lock) {
            if (m_mutex != nullptr)
                m_mutex->acquire();
        }
        ~Lock() KF_RELEASE() {
            if (m_mutex != nullptr)
                m_mutex->release();
        }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        KFMutex* const m_mutex;
    };

    /// The lock, for callers that need several calls to be atomic.
    KFMutex& getLock() KF_RETURN_CAPABILITY(m_lock) { return m_lock; }
    /// Tells clang's thread-safety analysis that the caller's caller holds the lock.
    void lockIsHeld() const KF_ASSERT_CAPABILITY(m_lock) {}
    /// Begins a line, which is built in the queue: at most `room` bytes, none of them NUL. The caller holds
    /// the lock until endLine(), and passes to it the end of the text.
    char* beginLine(std::size_t room) KF_REQUIRES(m_lock);
    void endLine(const char* end) KF_REQUIRES(m_lock);
    /// The files and their queue. The caller holds the lock.
    const kf::detail::FileRing& getFileRing() const KF_REQUIRES(m_lock) { return *m_ring; }

private:
    bool goesWithoutLock() const;
    char* beginReportLine(std::size_t room) KF_REQUIRES(m_lock);
    bool endReportLine(const char* end) KF_REQUIRES(m_lock);
    ThreadTracer* findThreadTracer(std::uint64_t key) KF_REQUIRES(m_lock);
    std::unique_ptr<ThreadTracer>& linkOfThreadTracer(std::uint64_t key) KF_REQUIRES(m_lock);
    std::unique_ptr<ThreadTracer> makeThreadTracer(std::string_view name) KF_REQUIRES(m_lock);
    bool hasFileName();
    void BeginFile();
    bool writesAtOnce() const KF_REQUIRES(m_lock) { return m_directWrite || m_isFlushThreadSilent; }
    void lineIsQueued() KF_REQUIRES(m_lock);
    void switchThread(bool on);
    ThreadTracer* registeredThreadTracer() KF_REQUIRES(m_lock);
    ThreadTracer* registerUnnamedThread() KF_REQUIRES(m_lock);
    void storeEnabled(bool enabled);
    static void updateSwitch();

    static std::atomic<Tracer*> m_Instance;

    // Atomics: they are set without the lock, and call markers read some of them without it.
    std::atomic<bool> m_barIndentation{false};
    std::atomic<bool> m_indentHiddenCalls{false};
    std::atomic<bool> m_printExits{false};
    std::atomic<bool> m_printTime{false};
    std::atomic<bool> m_printObjectCountAndAddress{false};
    std::atomic<std::uint32_t> m_levelMask{0};
    // Call sites cache their verdict under this number, which no two states of any tracer's filters share.
    std::atomic<std::uint32_t> m_filterGeneration;
    // Identifies the tracer: a later one may have the same address.
    const std::uint64_t m_number;
    // Written under the lock. Read without it first, so that a disabled tracer never takes the lock.
    std::atomic<bool> m_enabled{false};

    KFMutex m_lock{true};
    bool m_directWrite KF_GUARDED_BY(m_lock) = false;
    bool m_isFlushThreadSilent KF_GUARDED_BY(m_lock) = false; // or was never started
    const std::unique_ptr<kf::detail::FileRing> m_ring KF_PT_GUARDED_BY(m_lock);
    std::map<std::string, std::int32_t, std::less<>> m_objectCounts KF_GUARDED_BY(m_lock);
    std::vector<std::string> m_permittedThreads KF_GUARDED_BY(m_lock);
    std::vector<std::string> m_permittedCalls KF_GUARDED_BY(m_lock);
    std::vector<std::string> m_forbiddenCalls KF_GUARDED_BY(m_lock);
    // Sorted by the threads' keys. A linked list, so that a crash handler can read it in the middle of any
    // change, and add to it without allocating.
    std::unique_ptr<ThreadTracer> m_threadTracers KF_GUARDED_BY(m_lock);
    std::unique_ptr<ThreadTracer> m_spareThreadTracer KF_GUARDED_BY(m_lock); // for the crash handler's thread
    std::unique_ptr<TracerFlushThread> m_flushThread;

    std::atomic<bool> m_isReporting{false};
    std::atomic<std::uint64_t> m_threadWithoutLock{0}; // key of the reporting thread; 0: none
    bool m_isLockLost = false;                         // only for the reporting thread
};
