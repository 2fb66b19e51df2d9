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

/// Records, per thread, every traced call's entry and exit and the messages issued inside calls, as an
/// indented call tree in a ring of text files. One object, reached through GetInstance(); start-up creates
/// it, registers it, sets its folder and has it read its configuration. Functions are traced through
/// CallMarker.h.
///
/// Thread: any, unless said otherwise. One recursive lock guards everything. It is held from the beginning of an entry
/// line to its end, so that the lines of several threads never interleave.
class Tracer {
public:
    Tracer();
    /// Stops the flush thread; lines still queued are dropped (FinishTracing writes them). No thread may be
    /// in a traced call. An instance pointer to this tracer becomes null.
    ~Tracer();

    Tracer(const Tracer&) = delete;
    Tracer& operator=(const Tracer&) = delete;

    /// The registered tracer, or null.
    static Tracer* GetInstance() { return m_Instance.load(std::memory_order_acquire); }
    /// Registers the tracer, which stays the caller's. A null pointer breaks the contract.
    static void SetInstance(Tracer* pTheTracer);

    /// A tracer is registered, and it is enabled. Test this before GetInstance() is used.
    static bool isActive() {
        Tracer* const tracer = GetInstance();
        return tracer != nullptr && tracer->isEnabled();
    }
    /// As isActive() without the lock: for the crash handler, which must not wait for it.
    static bool mayBeActive() {
        Tracer* const tracer = GetInstance();
        return tracer != nullptr && tracer->m_enabled.load(std::memory_order_relaxed);
    }
    /// A disabled tracer answers without touching its lock.
    bool isEnabled() {
        if (!m_enabled.load(std::memory_order_relaxed))
            return false;
        const Lock lock(*this);
        return m_enabled.load(std::memory_order_relaxed);
    }

    // ---- configuration

    /// Reads a trace configuration file and starts tracing when it says so. A missing file only warns. A
    /// syntax error, or an enabled tracer without a file name, ends the process with status 1.
    void ReadConfigFile(const char* fileName);
    /// The folder of bare file names, with its trailing separator.
    void SetFolderName(std::string folderName);
    /// Chooses the output: "console", "msvc" (nowhere), a bare name in the folder, or a path; a file name is
    /// completed with "_<index>.txt". Every run begins anew with file 0.
    void SetFileName(std::string name);
    /// Recomputes the current file's name; the next drain empties that file.
    void UpdateFileName();

    void setEnabled(bool enabled);
    /// Every line is written at once. The flush thread, if there is one, goes on.
    void setDirectWrite(bool directWrite);
    void setMaximumFiles(std::int32_t files);
    void setMaximumLinesPerFile(std::int32_t lines);
    /// Adds message types to those that are written.
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

    /// Permits the threads that the pattern names; not null, not empty. "*" is all, "Main*" all that begin
    /// so, "*Worker" all that end so.
    void TraceTheThread(const char* threadName);
    /// Permits the calls that the pattern names, for instance "Class::*"; with a leading "-" it hides them,
    /// and then "-*text*" hides every call that contains the text. Not null, not empty.
    void TraceTheCall(const char* className);
    /// No thread and no call is permitted unless a pattern names it.
    bool isThreadPermittedToPrint(std::string_view name);
    bool isCallPermittedToPrint(std::string_view name);
    /// A forbidden call is hidden even when it is permitted.
    bool isCallForbiddenToPrint(std::string_view name);
    /// Permitted and not forbidden. The call site caches the answer until the filters change.
    bool isPrinted(kf::detail::CallSite& site);
    /// "void ZevoLauncher::init(int)" gives "ZevoLauncher::init".
    static std::string extractMethodName(const char* prettyName);

    // ---- threads and calls

    /// Gives the calling thread its name in the trace, when the filters permit that name and the thread has
    /// none yet. Not null. A thread that never calls this is registered as "th_<id>" by its first traced
    /// call.
    void BeginningOfThread(const char* threadName);
    /// Ends the calling thread's trace; nothing happens when it has none.
    void EndOfThread();
    /// Switches the calling thread's calls on or off.
    void Enable();
    void Disable();

    /// A call begins on the calling thread. Nothing happens while the tracer is disabled. Takes the lock.
    void BeginningOfCall(CallMarker& marker);
    /// The same, called by the marker itself: a call that leaves no line is dealt with here, without the lock.
    void beginCall(CallMarker& marker);
    /// A call ends. Nothing happens while the tracer is disabled, where another tracer recorded the call, and where the
    /// thread has ended its trace. Called by the marker itself; takes the lock only to write an exit line.
    void EndOfCall(CallMarker& marker);
    /// The calling thread's tracer if it is the one that recorded this call and the tracer is enabled, else
    /// null. It stays valid until the calling thread ends its trace.
    ThreadTracer* threadTracerOf(const CallMarker& marker);
    /// Counts an object up or down; returns the number of living objects of the marker's class, 0 without
    /// one.
    int UpdateObjectCount(const CallMarker& marker);

    // ---- output

    /// Routes one finished line, which ends in "\n".
    void PrintString(std::string_view line);
    /// Writes the queued lines. A file that cannot be opened is told on standard error; the lines stay
    /// queued.
    void WriteOnFile();
    /// Disables the tracer, writes every queued line that can be written, and stops the flush thread's writing. A line
    /// that is printed later is written at once.
    void FinishTracing();
    /// For whoever is about to end the process: the registered tracer, if there is one and it writes to a
    /// file, finishes. The file is this run's then, also where nothing was traced.
    static void FinishBeforeExit();
    /// Writes the stacks of living calls of all traced threads.
    void PrintStacks();
    /// Writes the number of living objects per class; always, also when the calling thread is not traced.
    void PrintAllObjectsCount();

    // ---- the crash handler's

    /// The calling thread reports a crash from here on: the queued lines are written, then every line at once (direct
    /// write). Until EndReport() nothing here allocates, and the lock is waited for at most a second: the crash may have
    /// interrupted its owner. Where that second is not enough, this thread goes without the lock from then on.
    void BeginReport() KF_NO_THREAD_SAFETY_ANALYSIS; // which does not know a lock that may be lost
    /// The report is complete; other threads' lines may follow.
    void EndReport() KF_NO_THREAD_SAFETY_ANALYSIS;
    /// Between the two. The tracer's lock is held.
    bool isReporting() const { return m_isReporting.load(std::memory_order_relaxed); }

    /// Holds the tracer's lock for the length of a scope. The thread that reports a crash takes no lock: it has it
    /// already, or has given up on it.
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

    /// The lock, for callers that need several calls to be one step.
    KFMutex& getLock() KF_RETURN_CAPABILITY(m_lock) { return m_lock; }
    /// Tells clang's thread-safety analysis that the caller's caller holds the lock.
    void lockIsHeld() const KF_ASSERT_CAPABILITY(m_lock) {}
    /// Begins a line, which is built in its slot of the queue: at most `room` bytes, none of them NUL. The caller holds
    /// the lock until endLine(), which gets the end of the text.
    char* beginLine(std::size_t room) KF_REQUIRES(m_lock);
    void endLine(const char* end) KF_REQUIRES(m_lock);
    /// Where lines go. The caller holds the lock.
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

    // Atomics, since threads that build a line read them without the lock.
    std::atomic<bool> m_barIndentation{false};
    std::atomic<bool> m_indentHiddenCalls{false};
    std::atomic<bool> m_printExits{false};
    std::atomic<bool> m_printTime{false};
    std::atomic<bool> m_printObjectCountAndAddress{false};
    std::atomic<std::uint32_t> m_levelMask{0};
    // Call sites cache their verdict under this number, which no tracer uses twice.
    std::atomic<std::uint32_t> m_filterGeneration;
    // Identifies the tracer: another one may follow at the same address.
    const std::uint64_t m_number;
    // Written under the lock; read without it, since nobody needs the lock to learn that the tracer is off.
    std::atomic<bool> m_enabled{false};

    KFMutex m_lock{true};
    bool m_directWrite KF_GUARDED_BY(m_lock) = false;
    bool m_isFlushThreadSilent KF_GUARDED_BY(m_lock) = false; // or was never started
    const std::unique_ptr<kf::detail::FileRing> m_ring KF_PT_GUARDED_BY(m_lock);
    std::map<std::string, std::int32_t, std::less<>> m_objectCounts KF_GUARDED_BY(m_lock);
    std::vector<std::string> m_permittedThreads KF_GUARDED_BY(m_lock);
    std::vector<std::string> m_permittedCalls KF_GUARDED_BY(m_lock);
    std::vector<std::string> m_forbiddenCalls KF_GUARDED_BY(m_lock);
    // In ascending order of their threads' keys. A list, because a crash handler may read it in the middle of any
    // change, and adds to it without allocating.
    std::unique_ptr<ThreadTracer> m_threadTracers KF_GUARDED_BY(m_lock);
    std::unique_ptr<ThreadTracer> m_spareThreadTracer KF_GUARDED_BY(m_lock); // for the crash handler's thread
    std::unique_ptr<TracerFlushThread> m_flushThread;

    std::atomic<bool> m_isReporting{false};
    std::atomic<std::uint64_t> m_threadWithoutLock{0}; // the key of the one that reports; 0: none
    bool m_isLockLost = false;                         // the reporting thread's
};
