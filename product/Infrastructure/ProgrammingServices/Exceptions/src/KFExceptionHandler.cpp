#include "KFExceptionHandler.h"

#include "CallMarker.h"
#include "ContractChecks.h"
#include "KFCrashListener.h"
#include "KFMutex.h"
#include "Logger.h"
#include "Tracer.h"
#include "detail/KFLock.h"
#include "detail/NeverDestroyed.h"
#include "detail/ThreadId.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sys/time.h>
#include <unistd.h>

using namespace kf::detail;

/// Signal numbers are those of macOS on every host, so the names in the host's <signal.h> cannot be used.
static constexpr int FIRST_SIGNAL = 1;
static constexpr int LAST_SIGNAL = 30;
static constexpr int ALARM_SIGNAL = 14;
static constexpr int CONTRACT_SIGNAL = 30;
static constexpr int WINDOW_SIZE_SIGNAL = 28;

/// Signals after which the thread cannot go on, as this host numbers them.
static constexpr int FAULT_SIGNALS[] = {SIGILL, SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGSEGV, SIGSYS};

static constexpr struct {
    int number;
    const char* text;
} SIGNAL_TEXTS[] = {
    {1, "SIGNAL_HANG_UP"},
    {2, "SIGNAL_INTERRUPT"},
    {3, "SIGNAL_QUIT"},
    {4, "SIGNAL_ILLEGAL_INSTRUCTION"},
    {5, "SIGNAL_TRACE_TRAP"},
    {6, "SIGNAL_ABORT"},
    {8, "SIGNAL_FLT"},
    {9, "SIGNAL_KILL"},
    {10, "SIGNAL_BUS_ERROR"},
    {11, "SIGNAL_SEGMENTATION_FAULT"},
    {12, "SIGNAL_BAD_ARGUMENT_SYSTEM_CALL"},
    {13, "SIGNAL_WRITE_PIPE_WITH_NO_READER"},
    {ALARM_SIGNAL, "SIGNAL_ALARM_CLOCK"},
    {15, "SIGNAL_SOTWARE_TERMINATION"}, // DELIBERATE: spelled so, support searches traces for it
    {16, "SIGNAL_URG_ON_IO_CHANNEL"},
    {17, "SIGNAL_STOP"},
    {19, "SIGNAL_CONTINUE"},
    {20, "SIGNAL_SIGCHLD"},
    {21, "SIGNAL_SIGTTIN"},
    {22, "SIGNAL_SIGTTOU"},
    {WINDOW_SIZE_SIGNAL, "SIGNAL_WINDOW_SIZE_CHANGE"},
};

static constexpr std::size_t CRASH_TEXT_SIZE = 1024;

std::atomic<KFExceptionHandler*> KFExceptionHandler::m_globalHandler{nullptr};
int KFExceptionHandler::ms_reportLimit = 10000;
int KFExceptionHandler::ms_endLimit = 2000;

namespace {

/// Never destroyed: constructors and destructors of static objects may break contracts before and after main.
std::map<std::string, std::string>& exceptParams() {
    static NeverDestroyed<std::map<std::string, std::string>> record;
    return record.get();
}

/// Guards the record. Recursive, because the thread that recorded a broken contract still holds it when it
/// raises the signal, and then reads the record in the handler. The process ends while it is held.
KFMutex& recordLock() {
    static NeverDestroyed<KFMutex> lock(true);
    return lock.get();
}

} // namespace

std::map<std::string, std::string>& KFExceptionHandler::m_ExceptParams = exceptParams();

void kf::detail::reportContractViolation(const char* kind, const char* condition, const char* file,
                                         int line) {
    KFExceptionHandler::GetInstance()->throwException(0, kind, condition, file, line);
}

KFExceptionHandler* KFExceptionHandler::GetInstance() {
    TRACE_FUNCTION("KFExceptionHandler::GetInstance");
    KFExceptionHandler* handler = m_globalHandler.load();
    if (handler == nullptr) {
        // No lock: the constructor traces, and a contract that it breaks leads back to this function. If two
        // threads come at once, the later one's handler is deleted; both install the same function.
        auto created = std::make_unique<KFExceptionHandler>();
        if (m_globalHandler.compare_exchange_strong(handler, created.get()))
            handler = created.release();
    }
    return handler;
}

KFExceptionHandler::KFExceptionHandler() : m_action() {
    TRACE_CONSTRUCTOR("KFExceptionHandler");
    {
        const KFLock lock(recordLock());
        for (const char* key : {"Code", "Name", "Description", "InFile", "AtLine"})
            exceptParams()[key].clear();
    }
    m_action.sa_handler = crashHandlerSignalFilter;
    m_action.sa_flags = 0;
    sigemptyset(&m_action.sa_mask);
    for (int sig = FIRST_SIGNAL; sig <= LAST_SIGNAL; ++sig) {
        if (sig == WINDOW_SIZE_SIGNAL) // a resized terminal must not end the process
            continue;
        if (sigaction(sig, &m_action, nullptr) != 0) {
            const int error = errno;
            TRACE_MESSAGE(MSG_ERROR, "Cant install signal handler for %d errno = %d.", sig, error);
        }
    }
}

KFExceptionHandler::~KFExceptionHandler() {
    TRACE_DESTRUCTOR("KFExceptionHandler");
}

namespace {

std::string textOrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

/// The record keeps a number in a field of 10 characters, its NUL included; a longer text is cut.
std::string numberField(int number) {
    char field[10] = {};
    std::snprintf(field, sizeof field, "%d", number);
    return field;
}

} // namespace

void KFExceptionHandler::throwException(int code, const char* name, const char* description,
                                        const char* fileName, int line) {
    TRACE_METHOD();
    // Held until the report is written and the process ends, so that a second thread's violation cannot get
    // in between and mix its texts into the first one's.
    const KFLock lock(recordLock());
    std::map<std::string, std::string>& record = exceptParams();
    record["Code"] = numberField(code);
    record["Name"] = textOrEmpty(name);
    record["Description"] = textOrEmpty(description);
    record["InFile"] = textOrEmpty(fileName);
    record["AtLine"] = numberField(line);
    raise(code != 0 ? code : CONTRACT_SIGNAL);
}

namespace {

/// Blocks everything except the signals that must end a report which cannot go on: the alarm, and a fault in
/// the report itself (a blocked fault would end the process by that signal). Sets the whole mask, because the
/// kernel has blocked the signal being handled, and the thread may have blocked others.
void blockOtherSignals() {
    sigset_t blocked;
    sigfillset(&blocked);
    sigdelset(&blocked, ALARM_SIGNAL);
    for (const int fault : FAULT_SIGNALS)
        sigdelset(&blocked, fault);
    pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
}

/// Ends a report that hangs: the alarm arrives as a second signal.
void limitTime(int milliseconds) {
    struct itimerval limit = {};
    limit.it_value.tv_sec = milliseconds / 1000;
    limit.it_value.tv_usec = milliseconds % 1000 * 1000;
    setitimer(ITIMER_REAL, &limit, nullptr);
}

/// Returns only on the thread that is to report. A second signal ends the process only if the report cannot
/// go on: it has taken too long, or has faulted itself. Other threads wait here for the end.
void becomeTheReporter(int sig) {
    static std::atomic<std::uint64_t> reporter{0};
    std::uint64_t nobody = 0;
    if (reporter.compare_exchange_strong(nobody, currentThreadKey()))
        return;
    if (sig == ALARM_SIGNAL || reporter == currentThreadKey())
        _exit(0);
    for (;;)
        pause();
}

const char* textOfSignal(int sig) {
    for (const auto& entry : SIGNAL_TEXTS)
        if (entry.number == sig)
            return entry.text;
    return nullptr;
}

/// Searches linearly: find() would make a string of the key, which may allocate.
const char* textOf(const std::map<std::string, std::string>& record, const char* key) {
    for (const auto& [name, text] : record)
        if (name == key)
            return text.c_str();
    return "";
}

void describeViolation(const std::map<std::string, std::string>& record, char* text, std::size_t size) {
    std::snprintf(text, size, "%s : %s - In File : %s - At Line : %s", textOf(record, "Name"),
                  textOf(record, "Description"), textOf(record, "InFile"), textOf(record, "AtLine"));
}

} // namespace

void KFExceptionHandler::describeContractViolation(char* text, std::size_t size) {
    if (recordLock().tryacquire()) {
        describeViolation(exceptParams(), text, size);
        recordLock().release();
    } else {
        // Signal 30 was sent from outside, while another thread is recording: there is nothing to report yet.
        describeViolation({}, text, size);
    }
}

void KFExceptionHandler::describeCrash(int sig, char* text, std::size_t size) {
    if (sig == CONTRACT_SIGNAL)
        describeContractViolation(text, size);
    else if (const char* const signalText = textOfSignal(sig))
        std::snprintf(text, size, "%s", signalText);
    else
        std::snprintf(text, size, "UNKNOWN SIGNAL (%d)", sig);
}

void KFExceptionHandler::crashHandlerSignalFilter(int sig) {
    blockOtherSignals();
    becomeTheReporter(sig);
    limitTime(ms_reportLimit);

    // From here to EndReport() nothing may allocate or wait for a lock without a limit: malloc may have
    // detected the crash, or the crash may have interrupted the holder of the lock.
    char text[CRASH_TEXT_SIZE] = {};
    describeCrash(sig, text, sizeof text);
    Tracer* const tracer = Tracer::mayBeActive() ? Tracer::GetInstance() : nullptr;
    if (tracer != nullptr)
        tracer->BeginReport();
    TRACE_FUNCTION("SIGNAL_FILTER");
    TRACE_MESSAGE(MSG_ERROR, "%s", text);
    if (tracer != nullptr) {
        tracer->PrintStacks();
        tracer->PrintAllObjectsCount();
        tracer->EndReport();
    }
    Logger* const logger = Logger::GetInstance();
    if (logger != nullptr && logger->isEnabled())
        logger->WriteAtCrash();

    // The first function that frees memory may hang, after a crash in malloc.
    limitTime(std::min(ms_reportLimit, ms_endLimit));
    if (const KFExceptionHandler* const handler = m_globalHandler.load()) {
        for (KFCrashListener* const listener : handler->m_crashListeners)
            if (listener != nullptr)
                listener->onCrash(text);
    }
    exit(0);
}
