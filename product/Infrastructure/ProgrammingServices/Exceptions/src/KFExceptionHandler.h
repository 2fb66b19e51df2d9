#pragma once

#include <atomic>
#include <cstddef>
#include <map>
#include <signal.h>
#include <string>
#include <vector>

class KFCrashListener;

/// Catches almost every signal, writes what happened to the trace (the cause, the call stacks of all traced
/// threads, the object counts) and ends the process with status 0. The trace is the only record of a crash.
/// DELIBERATE: the status says nothing.
///
/// Signal numbers are those of macOS on every host: 30 is raised by broken contracts, 28 (a window changed
/// its size) is left alone. Harmless signals (a child's end, continue, terminal input and output) end the
/// process like the others.
///
/// The first thread to enter the handler reports. It first blocks all other signals except the alarm (14) and
/// the faults, so that a second one does not cost the report; other threads that enter wait for the end. The
/// report does not allocate, and waits for no lock without a limit, because the crash may have interrupted
/// malloc or the tracer itself.
///
/// Two guards keep a damaged process from lingering: a fault on the reporting thread ends the process at
/// once, and so does a report that takes longer than 10 seconds. After the report, the listeners and the
/// functions registered with atexit() have 2 seconds together. The status is 0 in each case, and what was
/// traced so far is in the file.
///
/// The handler runs on the stack of the thread that crashed. A stack that has overflowed leaves it no room:
/// then the signal itself ends the process, without a report.
class KFExceptionHandler {
public:
    /// The handler of the process; created and installed by the first call. Never destroyed.
    /// Thread: any.
    static KFExceptionHandler* GetInstance();

    /// Use GetInstance(). Installs crashHandlerSignalFilter for the signals 1 to 30 except 28, and empties
    /// the record of the last broken contract. A signal that cannot be caught is traced as an error and left.
    KFExceptionHandler();
    /// For a subclass, or for one that was created at the same time as the process's; the signals stay
    /// installed.
    ~KFExceptionHandler();
    KFExceptionHandler(const KFExceptionHandler&) = delete;
    KFExceptionHandler& operator=(const KFExceptionHandler&) = delete;

    /// The handler: reports signal sig and ends the process with status 0. Does not return.
    static void crashHandlerSignalFilter(int sig);

    /// Records a broken contract and raises the signal that reports it. Despite its name it throws nothing,
    /// and it returns only where the signal is ignored.
    /// @param code        the signal to raise, which then is reported by its own name; 0 for signal 30, which
    ///                    is reported with the texts given here
    /// @param name        the kind, e.g. "REQUIRE VIOLATION"
    /// @param description the condition that did not hold, or a message
    /// @param fileName    stable path of the source; @param line stable line number in it
    /// The texts are copied; null counts as the empty text.
    /// Thread: any. Where two threads break contracts at once, the first is reported and the second waits for
    /// the end of the process.
    void throwException(int code, const char* name, const char* description, const char* fileName, int line);

private:
    struct sigaction m_action;

protected:
    // No operation adds a listener: the launcher has none. A subclass may.
    std::vector<KFCrashListener*> m_crashListeners;

    /// Time that a report may take, in milliseconds.
    static int ms_reportLimit;
    /// After the report, the time for the listeners and for the functions registered with atexit().
    static int ms_endLimit;

    /// The last broken contract: "Code", "Name", "Description", "InFile" and "AtLine". All five keys are
    /// there from the handler's construction on; before that it must not be touched.
    static std::map<std::string, std::string>& m_ExceptParams;

private:
    static void describeCrash(int sig, char* text, std::size_t size);
    static void describeContractViolation(char* text, std::size_t size);

    static std::atomic<KFExceptionHandler*> m_globalHandler;
};
