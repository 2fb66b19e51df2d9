#pragma once

#include "KFMutex.h"
#include "MessageType.h"
#include "ThreadAnnotations.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

class LoggerFlushThread;
namespace kf::detail {
class EventCount;
class FileRing;
class LineWriter;
class MessageText;
class QuickFormat;
} // namespace kf::detail

/// The process-wide log of notable events, written to a ring of text files. One object, reached through
/// GetInstance(). Start-up creates and registers it, sets its folder and makes it read its configuration.
/// Code logs through LogMessage.h.
///
/// Thread: any, unless said otherwise. One recursive lock guards the files and the settings. A line that is
/// only queued does not take it while the queue's memory has room: it reserves a slot of the queue with one
/// atomic addition and is built there. The lines are in the file in the order of their reservations.
class Logger {
public:
    Logger();
    /// Disables the logger and stops the flush thread. Lines that are still queued are dropped;
    /// FinishLogging() writes them. No thread may be logging, and a lock that WriteOnFile() left held must be
    /// held by this thread. If this logger is the registered one, GetInstance() then returns null.
    ~Logger();

    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    /// The registered logger, or null.
    static Logger* GetInstance() { return m_pInstance.load(std::memory_order_acquire); }
    /// Registers the logger, which the caller still owns. A null pointer breaks the contract.
    static void SetInstance(Logger* pTheLogger);
    /// The registered logger if it writes lines of this type, else null.
    static Logger* GetInstanceFor(LoggerMsgType type) {
        Logger* const logger = GetInstance();
        return logger != nullptr && logger->isEnabled() && logger->hasInLevelMask(type) ? logger : nullptr;
    }

    bool isEnabled() const { return m_enabled.load(std::memory_order_relaxed); }
    bool hasInLevelMask(LoggerMsgType type) const {
        return (m_levelMask.load(std::memory_order_relaxed) & static_cast<std::int32_t>(type)) != 0;
    }

    // ---- configuration

    /// Reads a log configuration file (not null), and starts logging if it says so. A missing file only
    /// causes a warning. A syntax error, or an enabled logger without a file name, ends the process with
    /// status 1.
    void ReadConfigFile(const char* fileName);
    /// Starts the flush thread, unless lines are written at once. Without a file name, ends the process with
    /// status 1.
    void Initialize();
    /// The folder for bare file names, with its trailing separator.
    void SetFolderName(std::string folderName);
    /// Chooses the output: "console", "msvc" (nowhere), a bare name in the folder, or a path; "_<index>.txt"
    /// is appended to a file name. Continues the newest file of that ring. The ring has the maximum number of
    /// files that is set at the time of the call.
    void SetFileName(std::string name);
    /// Recomputes the current file's name.
    void UpdateFileName();

    void setEnabled(bool enabled) { m_enabled.store(enabled, std::memory_order_relaxed); }
    void setPrintTime(bool on);
    /// Whether every line is written at once. A flush thread that runs keeps running.
    void setDirectWrite(bool directWrite);
    void setMaximumFiles(std::int32_t files);
    void setMaximumLinesPerFile(std::int32_t lines);
    /// Adds message types to the mask.
    void addToLevelMask(std::int32_t types) { m_levelMask.fetch_or(types, std::memory_order_relaxed); }
    std::int32_t getLevelMask() const { return m_levelMask.load(std::memory_order_relaxed); }

    // ---- output

    /// Writes one line, without a check of isEnabled() and the mask: LOG_MESSAGE checks them. A text of more
    /// than 20000 characters is cut and marked " ...".
    void PrintMsg(LoggerMsgType type, const char* format, ...) KF_PRINTF_LIKE(3, 4);
    /// The same with a format that was parsed at compile time.
    void PrintMsg(LoggerMsgType type, const kf::detail::QuickFormat& quick, const char* format, ...)
        KF_PRINTF_LIKE(4, 5);
    /// Queues or outputs one finished line, which ends in "\n". Not empty.
    void PrintString(const std::string& msg);
    /// Log lines carry no thread name; the tracer's do.
    void PrintThreadName() {}

    /// Writes the queued lines.
    /// DELIBERATE: if the current file cannot be opened, this reports it on standard error and returns with
    /// the lock still held by the calling thread. Other threads that log then wait.
    void WriteOnFile() KF_NO_THREAD_SAFETY_ANALYSIS; // since it may leave the lock held
    /// As WriteOnFile(), for the crash handler. Waits for the lock at most 50 milliseconds (a second if its
    /// owner is writing the lines), then continues without it. Does not allocate. Silences the flush thread.
    void WriteAtCrash() KF_NO_THREAD_SAFETY_ANALYSIS; // the analysis cannot express a lock that may be lost
    bool areAllMsgFlushed();
    /// Disables the logger, writes every queued line that can be written, and silences the flush thread. A
    /// line that is printed later is written at once.
    void FinishLogging();

    // ---- the ring

    /// The index of the file to continue, or a negative value.
    int FindLastUsedFile();
    /// A file's modification date as "YYYYMMDD" and time as "HHMMSS", empty when they cannot be read.
    static std::string findFileDate(const std::string& fileName);
    static std::string findFileTime(const std::string& fileName);
    static void retrieveModificationInfo(const std::string& fileName, std::string& date, std::string& time);

    /// The lock, for callers that need several calls to be atomic. It guards the files and the settings;
    /// meanwhile other threads still queue lines.
    KFMutex& getLock() KF_RETURN_CAPABILITY(m_lock) { return m_lock; }
    /// The files and their queue. The caller holds the lock.
    const kf::detail::FileRing& getFileRing() const KF_REQUIRES(m_lock) { return *m_ring; }
    /// Notifies the flush thread.
    kf::detail::EventCount& getFlushWork() const { return *m_flushWork; }

private:
    void PrintText(LoggerMsgType type, const kf::detail::MessageText& text);
    // Each appends one piece to the line; PrintText has reserved room for all of them.
    static void PrintMsgType(std::string_view tag, kf::detail::LineWriter& line);
    static void PrintTime(kf::detail::LineWriter& line);
    void UpdateQueueing() KF_REQUIRES(m_lock);
    bool WritesAtOnce() const KF_REQUIRES(m_lock) { return m_directWrite || m_isFlushThreadSilent; }
    void lineIsQueued() KF_REQUIRES(m_lock);
    void ReleaseLockLeftHeld() KF_NO_THREAD_SAFETY_ANALYSIS;

    static std::atomic<Logger*> m_pInstance;

    // Read at every call site without the lock.
    std::atomic<bool> m_enabled{false};
    std::atomic<std::int32_t> m_levelMask{0};
    std::atomic<bool> m_printTime{false};
    // Whether lines may be queued without the lock. False if they are written at once, go to no file, or must
    // wait for the lock that WriteOnFile() left held.
    std::atomic<bool> m_isQueueing{true};

    KFMutex m_lock{true};
    bool m_directWrite KF_GUARDED_BY(m_lock) = false;
    bool m_isFlushThreadSilent KF_GUARDED_BY(m_lock) = false; // or was never started
    const std::unique_ptr<kf::detail::EventCount> m_flushWork;
    const std::unique_ptr<kf::detail::FileRing> m_ring KF_PT_GUARDED_BY(m_lock);
    int m_timesLeftHeld KF_GUARDED_BY(m_lock) = 0; // how often WriteOnFile left the lock held
    bool m_isBeingDestroyed KF_GUARDED_BY(m_lock) = false;
    std::unique_ptr<LoggerFlushThread> m_flushThread;
};
