#include "KFExceptionHandler.h"

#include "CallMarker.h"
#include "ContractChecks.h"
#include "KFCrashListener.h"
#include "KFLock.h"
#include "KFMutex.h"
#include "Logger.h"
#include "Tracer.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sys/time.h>
#include <unistd.h>

// The numbers are those of the launcher's first system and mean the same on every host, so the names of the
// host's <signal.h> are of no use here.
static constexpr int FIRST_SIGNAL = 1;
static constexpr int LAST_SIGNAL = 30;
static constexpr int CONTRACT_SIGNAL = 30;
static constexpr int WINDOW_SIZE_SIGNAL = 28;

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
    {14, "SIGNAL_ALARM_CLOCK"},
    {15, "SIGNAL_SOTWARE_TERMINATION"}, // spelled so, deliberately: support searches traces for it
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
std::map<std::string, std::string> KFExceptionHandler::m_ExceptParams;
int KFExceptionHandler::ms_reportLimit = 10000;

// Guards m_ExceptParams. Recursive, because the thread that recorded a broken contract keeps it while it
// raises the signal, and then reads the record as the handler. Never destroyed: the process ends while it is
// held.
static KFMutex& g_recordLock = *std::make_unique<KFMutex>(true).release();

void reportContractViolation(const char* kind, const char* condition, const char* file, int line) {
    KFExceptionHandler::GetInstance()->throwException(0, kind, condition, file, line);
}

KFExceptionHandler* KFExceptionHandler::GetInstance() {
    TRACE_FUNCTION("KFExceptionHandler::GetInstance");
    KFExceptionHandler* handler = m_globalHandler.load();
    if (handler == nullptr) {
        // Without a lock: the constructor traces, and a contract broken on the way must find its way in here.
        // When two threads come at once the later one's handler goes again; both have installed the same
        // function.
        auto created = std::make_unique<KFExceptionHandler>();
        if (m_globalHandler.compare_exchange_strong(handler, created.get()))
            handler = created.release();
    }
    return handler;
}

KFExceptionHandler::KFExceptionHandler() : m_action() {
    TRACE_CONSTRUCTOR("KFExceptionHandler");
    {
        const KFLock lock(g_recordLock);
        for (const char* key : {"Code", "Name", "Description", "InFile", "AtLine"})
            m_ExceptParams[key].clear();
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

static std::string textOrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

// The record keeps a number in a field of 10 characters, its zero included; a longer text is cut.
static std::string numberField(int number) {
    char field[10] = {};
    std::snprintf(field, sizeof field, "%d", number);
    return field;
}

void KFExceptionHandler::throwException(int code, const char* name, const char* description,
                                        const char* fileName, int line) {
    TRACE_METHOD();
    // Held until the report is written and the process ends, so that a second thread's violation cannot get
    // in between and mix its texts into the first one's.
    const KFLock lock(g_recordLock);
    m_ExceptParams["Code"] = numberField(code);
    m_ExceptParams["Name"] = textOrEmpty(name);
    m_ExceptParams["Description"] = textOrEmpty(description);
    m_ExceptParams["InFile"] = textOrEmpty(fileName);
    m_ExceptParams["AtLine"] = numberField(line);
    raise(code != 0 ? code : CONTRACT_SIGNAL);
}

// Sees to it that a report that hangs ends: signal 14 comes back as the second signal.
static void limitReportTime(int milliseconds) {
    // The signal being handled is blocked here, and others may have been by the thread. A blocked signal 14
    // would not end a hang, and a blocked fault in the handler itself would end the process by that signal.
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    struct itimerval limit = {};
    limit.it_value.tv_sec = milliseconds / 1000;
    limit.it_value.tv_usec = milliseconds % 1000 * 1000;
    setitimer(ITIMER_REAL, &limit, nullptr);
}

static const char* textOfSignal(int sig) {
    for (const auto& entry : SIGNAL_TEXTS) {
        if (entry.number == sig)
            return entry.text;
    }
    return nullptr;
}

static void describeViolation(const std::map<std::string, std::string>& record, char* text,
                              std::size_t size) {
    const auto textOf = [&record](const char* key) {
        const auto found = record.find(key);
        return found != record.end() ? found->second.c_str() : "";
    };
    std::snprintf(text, size, "%s : %s - In File : %s - At Line : %s", textOf("Name"), textOf("Description"),
                  textOf("InFile"), textOf("AtLine"));
}

void KFExceptionHandler::describeContractViolation(char* text, std::size_t size) {
    if (g_recordLock.tryacquire()) {
        describeViolation(m_ExceptParams, text, size);
        g_recordLock.release();
    } else {
        // Signal 30 came from outside, just while another thread records: there is nothing to tell yet.
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
    static std::atomic_flag reporting = ATOMIC_FLAG_INIT;
    if (reporting.test_and_set())
        _exit(0);
    limitReportTime(ms_reportLimit);

    TRACE_FUNCTION("SIGNAL_FILTER");
    if (Tracer::isActive())
        Tracer::GetInstance()->setDirectWrite(true);
    char text[CRASH_TEXT_SIZE] = {};
    describeCrash(sig, text, sizeof text);
    TRACE_MESSAGE(MSG_ERROR, "%s", text);
    if (Tracer::isActive()) {
        Tracer::GetInstance()->PrintStacks();
        Tracer::GetInstance()->PrintAllObjectsCount();
    }
    Logger* const logger = Logger::GetInstance();
    if (logger != nullptr && logger->isEnabled())
        logger->WriteOnFileIfFree();
    if (const KFExceptionHandler* const handler = m_globalHandler.load()) {
        for (KFCrashListener* const listener : handler->m_crashListeners) {
            if (listener != nullptr)
                listener->onCrash(text);
        }
    }
    exit(0);
}
