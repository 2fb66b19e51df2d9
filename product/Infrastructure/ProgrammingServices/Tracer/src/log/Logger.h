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

/// The process-wide journal of notable events, written to a ring of text files. One object, reached through
/// GetInstance(); start-up creates it, registers it, sets its folder and has it read its configuration. Code
/// logs through LogMessage.h.
///
/// Thread: any, unless said otherwise. One recursive lock guards the files and the settings. A line that is only queued
/// does not take it, as long as the queue's memory has room: it reserves a slot of the queue with one atomic addition,
/// and is built there. The order of the reservations is that of the lines in the file.
class Logger {
public:
    Logger();
    /// Disables the logger and stops the flush thread; lines still queued are dropped (FinishLogging writes
    /// them). No thread may be logging, and a thread that WriteOnFile left the lock to must be this one. An
    /// instance pointer to this logger becomes null.
    ~Logger();

    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    /// The registered logger, or null.
    static Logger* GetInstance() { return m_pInstance.load(std::memory_order_acquire); }
    /// Registers the logger, which stays the caller's. A null pointer breaks the contract.
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

    /// Reads a log configuration file (not null) and starts logging when it says so. A missing file only
    /// warns. A syntax error, or an enabled logger without a file name, ends the process with status 1.
    void ReadConfigFile(const char* fileName);
    /// Starts the flush thread, unless lines are written at once. Without a file name: ends the process with
    /// status 1.
    void Initialize();
    /// The folder of bare file names, with its trailing separator.
    void SetFolderName(std::string folderName);
    /// Chooses the output: "console", "msvc" (nowhere), a bare name in the folder, or a path; a file name is
    /// completed with "_<index>.txt". Goes on behind the last line of the newest file of that ring, as far as
    /// the maximum number of files known by now tells.
    void SetFileName(std::string name);
    /// Recomputes the current file's name.
    void UpdateFileName();

    void setEnabled(bool enabled) { m_enabled.store(enabled, std::memory_order_relaxed); }
    void setPrintTime(bool on);
    /// Every line is written at once. The flush thread, if there is one, goes on.
    void setDirectWrite(bool directWrite);
    void setMaximumFiles(std::int32_t files);
    void setMaximumLinesPerFile(std::int32_t lines);
    /// Adds message types to those that are written.
    void addToLevelMask(std::int32_t types) { m_levelMask.fetch_or(types, std::memory_order_relaxed); }
    std::int32_t getLevelMask() const { return m_levelMask.load(std::memory_order_relaxed); }

    // ---- output

    /// Writes one line, whatever the switch and the mask say: LOG_MESSAGE tests those. A text of more than
    /// 20000 characters is cut and marked " ...".
    void PrintMsg(LoggerMsgType type, const char* format, ...) KF_PRINTF_LIKE(3, 4);
    /// The same with a format that was parsed at compile time.
    void PrintMsg(LoggerMsgType type, const kf::detail::QuickFormat& quick, const char* format, ...)
        KF_PRINTF_LIKE(4, 5);
    /// Routes one finished line, which ends in "\n". Not empty.
    void PrintString(const std::string& msg);
    /// Log lines carry no thread name; the tracer's do.
    void PrintThreadName() {}

    /// Writes the queued lines.
    /// DELIBERATE: when the current file cannot be opened, this tells it on standard error and returns with
    /// the lock still held by the calling thread. Other threads that log then wait.
    void WriteOnFile() KF_NO_THREAD_SAFETY_ANALYSIS; // since it may leave the lock held
    /// The same for the crash handler. Waits for the lock at most 50 milliseconds (a second where its owner is just
    /// writing the lines), and then goes without it. Does not allocate. From then on the flush thread writes nothing.
    void WriteAtCrash() KF_NO_THREAD_SAFETY_ANALYSIS; // which does not know a lock that may be lost
    bool areAllMsgFlushed();
    /// Disables the logger, writes every queued line that can be written, and stops the flush thread's writing. A line
    /// that is printed later is written at once.
    void FinishLogging();

    // ---- the ring

    /// The index of the file to continue, or a negative value.
    int FindLastUsedFile();
    /// A file's modification date as "YYYYMMDD" and time as "HHMMSS", empty when they cannot be read.
    static std::string findFileDate(const std::string& fileName);
    static std::string findFileTime(const std::string& fileName);
    static void retrieveModificationInfo(const std::string& fileName, std::string& date, std::string& time);

    /// The lock, for callers that need several calls to be one step. It guards the files and the settings; other threads'
    /// lines are still queued meanwhile.
    KFMutex& getLock() KF_RETURN_CAPABILITY(m_lock) { return m_lock; }
    /// Where lines go. The caller holds the lock.
    const kf::detail::FileRing& getFileRing() const KF_REQUIRES(m_lock) { return *m_ring; }
    /// What the flush thread waits for.
    kf::detail::EventCount& getFlushWork() const { return *m_flushWork; }

private:
    void PrintText(LoggerMsgType type, const kf::detail::MessageText& text);
    // Each appends one piece to the line; PrintText has reserved room for all.
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
    // Lines may be queued without the lock. Not so where they are written at once, go to no file, or have to wait for the
    // lock that WriteOnFile has left held.
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
