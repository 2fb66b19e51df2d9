#include "Logger.h"

#include "ContractChecks.h"
#include "LoggerConfigFileParser.h"
#include "LoggerFlushThread.h"
#include "Tracer.h"
#include "detail/EventCount.h"
#include "detail/FileRing.h"
#include "detail/KFLock.h"
#include "detail/LatestMillisecond.h"
#include "detail/LineWriter.h"
#include "detail/MessageTags.h"
#include "detail/MessageText.h"
#include "detail/TimeStamp.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

using namespace kf::detail;

static const char KF_SOURCE[] = "product/Infrastructure/ProgrammingServices/Tracer/src/Logger";

namespace {

// One for each thread, so that threads do not wait for each other.
thread_local TimeStamp timeStamp;

LatestMillisecond latestMillisecond;

constexpr int CRASH_LOCK_MILLISECONDS = 50;
constexpr int CRASH_DRAIN_MILLISECONDS = 1000;

/// Updates this thread's stamp for its next line.
void takeTime() {
    if (!timeStamp.take())
        latestMillisecond.reach(timeStamp.milliseconds());
}

/// Updates this thread's stamp after other threads have used a later one.
void catchUp() {
    const std::int64_t latest = latestMillisecond.get();
    timeStamp.look();
    if (timeStamp.milliseconds() < latest)
        latestMillisecond.setBack(latest, timeStamp.milliseconds());
    else
        latestMillisecond.reach(timeStamp.milliseconds());
}

/// Reserves a slot of the queue such that the stamps in a file ascend. Between the stamp and the reservation,
/// other threads may have reserved slots for later stamps; then the slot is cancelled and the stamp updated.
template <typename Reserve>
LineQueue::Slot reserveInOrder(bool printTime, const Reserve& reserve) {
    if (!printTime)
        return reserve();
    takeTime();
    LineQueue::Slot slot = reserve();
    while (slot && latestMillisecond.isBehind(timeStamp.milliseconds())) {
        slot.cancel();
        catchUp();
        slot = reserve();
    }
    return slot;
}

constexpr MessageTags TAGS = {"[DEBUG  ] ", "[ERROR  ] ", "[WARNING] ", "[LEVEL_0] ", "[LEVEL_1] ",
                              "[LEVEL_2] ", "[LEVEL_3] ", "[LEVEL_4] ", "[LEVEL_5] "};

} // namespace

std::atomic<Logger*> Logger::m_pInstance{nullptr};

// An earlier run's file is continued, not emptied.
Logger::Logger()
    : m_flushWork(std::make_unique<EventCount>()),
      m_ring(std::make_unique<FileRing>("Logger", false, *m_flushWork)) {}

Logger::~Logger() {
    Logger* self = this;
    m_pInstance.compare_exchange_strong(self, nullptr);
    setEnabled(false);
    ReleaseLockLeftHeld();
    m_flushThread.reset();
}

// The flush thread may be waiting for the lock, and ends only after it has got it; m_isBeingDestroyed makes
// its WriteOnFile() release the lock.
void Logger::ReleaseLockLeftHeld() {
    if (!m_lock.tryacquire())
        return; // the flush thread has it
    m_isBeingDestroyed = true;
    for (; m_timesLeftHeld > 0; --m_timesLeftHeld)
        m_lock.release();
    m_lock.release();
}

void Logger::SetInstance(Logger* pTheLogger) {
    KF_REQUIRE(pTheLogger != NULL, 49);
    m_pInstance.store(pTheLogger, std::memory_order_release);
    KF_ENSURE(m_pInstance != NULL, 51);
}

// ---- configuration

void Logger::ReadConfigFile(const char* fileName) {
    KF_REQUIRE(fileName != NULL, 80);
    LoggerConfigFileParser(fileName, this).parse();
    if (isEnabled())
        Initialize();
}

void Logger::Initialize() {
    bool hasFileName = false;
    bool directWrite = false;
    {
        const KFLock lock(m_lock);
        hasFileName = !m_ring->getBaseFileName().empty();
        directWrite = m_directWrite;
    }
    if (!hasFileName) {
        std::puts("please call Logger_SET_FILE_NAME(fileName)");
        Tracer::FinishBeforeExit();
        std::exit(1);
    }
    if (directWrite)
        return;
    // Without the lock: this joins an earlier flush thread, which may be waiting for the lock.
    m_flushThread = std::make_unique<LoggerFlushThread>(this);
    const bool isStarted = m_flushThread->start();
    if (!isStarted)
        std::fprintf(stderr, "Logger : can't start the flush thread, so lines are written at once\n");
    const KFLock lock(m_lock);
    m_isFlushThreadSilent = !isStarted;
    UpdateQueueing();
}

void Logger::SetFolderName(std::string folderName) {
    const KFLock lock(m_lock);
    m_ring->setFolderName(std::move(folderName));
}

void Logger::SetFileName(std::string name) {
    const KFLock lock(m_lock);
    const bool isFile = m_ring->setBaseName(name);
    UpdateQueueing();
    if (!isFile)
        return;
    const int index = m_ring->findLastUsedFile();
    if (index >= 0) {
        m_ring->continueFile(index);
        return;
    }
    m_ring->beginAnew();
}

void Logger::UpdateFileName() {
    const KFLock lock(m_lock);
    m_ring->nameCurrentFile();
}

void Logger::setDirectWrite(bool directWrite) {
    const KFLock lock(m_lock);
    m_directWrite = directWrite;
    UpdateQueueing();
}

void Logger::setPrintTime(bool on) {
    TimeStamp::learnTimeZone();
    m_printTime.store(on, std::memory_order_relaxed);
}

void Logger::setMaximumFiles(std::int32_t files) {
    const KFLock lock(m_lock);
    m_ring->setMaximumFiles(files);
}

void Logger::setMaximumLinesPerFile(std::int32_t lines) {
    const KFLock lock(m_lock);
    m_ring->setMaximumLinesPerFile(lines);
}

// ---- output

void Logger::PrintMsg(LoggerMsgType type, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const MessageText text(format, arguments);
    va_end(arguments);
    PrintText(type, text);
}

void Logger::PrintMsg(LoggerMsgType type, const QuickFormat& quick, const char* format, ...) {
    std::va_list arguments;
    std::va_list again;
    va_start(arguments, format);
    va_start(again, format);
    const MessageText text(quick, format, arguments, again);
    va_end(again);
    va_end(arguments);
    PrintText(type, text);
}

void Logger::PrintText(LoggerMsgType type, const MessageText& text) {
    const bool printTime = m_printTime.load(std::memory_order_relaxed);
    const std::string_view tag = tagOf(type, TAGS);
    const std::size_t length = (printTime ? TimeStamp::LENGTH : 0) + tag.size() + text.view().size() + 1;
    const auto put = [&](char* begin) {
        LineWriter line(begin);
        if (printTime)
            PrintTime(line);
        PrintMsgType(tag, line);
        line.put(text.view());
        line.put('\n');
    };
    const auto reserve = [&]() KF_NO_THREAD_SAFETY_ANALYSIS { // it needs no lock
        return m_isQueueing.load(std::memory_order_relaxed) ? m_ring->reserve(length) : LineQueue::Slot();
    };
    if (const LineQueue::Slot slot = reserveInOrder(printTime, reserve)) {
        put(slot.text());
        slot.finish();
        m_flushWork->notify();
        return;
    }
    const KFLock lock(m_lock);
    if (m_ring->isQueueing()) {
        const auto make = [&]() KF_NO_THREAD_SAFETY_ANALYSIS { return m_ring->makeSlot(length); };
        const LineQueue::Slot slot = reserveInOrder(printTime, make);
        put(slot.text());
        slot.finish();
        lineIsQueued();
        return;
    }
    if (printTime)
        takeTime();
    std::string line(length, '\0');
    put(line.data());
    PrintString(line);
}

void Logger::UpdateQueueing() {
    m_isQueueing.store(m_ring->isQueueing() && !WritesAtOnce() && m_timesLeftHeld == 0,
                       std::memory_order_relaxed);
}

void Logger::PrintString(const std::string& msg) {
    KF_REQUIRE(!(msg.empty()), 242);
    const KFLock lock(m_lock);
    if (m_ring->put(msg))
        lineIsQueued();
}

void Logger::lineIsQueued() {
    if (WritesAtOnce())
        WriteOnFile();
    else
        m_flushWork->notify();
}

void Logger::PrintMsgType(std::string_view tag, LineWriter& line) {
    line.put(tag);
}

void Logger::PrintTime(LineWriter& line) {
    line.put(timeStamp.text());
}

void Logger::WriteOnFile() {
    m_lock.acquire();
    if (m_ring->drain() == FileRing::Drain::CannotOpen && !m_isBeingDestroyed) {
        ++m_timesLeftHeld;
        UpdateQueueing();
        return;
    }
    m_lock.release();
}

void Logger::WriteAtCrash() {
    bool isHeld = acquireWithin(m_lock, CRASH_LOCK_MILLISECONDS);
    if (!isHeld && m_ring->isDraining())
        isHeld = acquireWithin(m_lock, CRASH_DRAIN_MILLISECONDS);
    if (m_flushThread != nullptr)
        m_flushThread->silence();
    m_ring->beginReport();
    if (isHeld)
        m_lock.release();
}

bool Logger::areAllMsgFlushed() {
    const KFLock lock(m_lock);
    return m_ring->waiting() == 0;
}

void Logger::FinishLogging() {
    const KFLock lock(m_lock);
    setEnabled(false);
    if (!m_directWrite)
        m_ring->drainAll([this] { WriteOnFile(); });
    // The last drain may have begun a file, which one more drain would empty.
    if (m_flushThread != nullptr)
        m_flushThread->silence();
    m_isFlushThreadSilent = m_flushThread != nullptr;
    UpdateQueueing();
}

// ---- the ring

int Logger::FindLastUsedFile() {
    const KFLock lock(m_lock);
    return m_ring->findLastUsedFile();
}

std::string Logger::findFileDate(const std::string& fileName) {
    std::string date;
    std::string time;
    retrieveModificationInfo(fileName, date, time);
    return date;
}

std::string Logger::findFileTime(const std::string& fileName) {
    std::string date;
    std::string time;
    retrieveModificationInfo(fileName, date, time);
    return time;
}

void Logger::retrieveModificationInfo(const std::string& fileName, std::string& date, std::string& time) {
    FileRing::retrieveModificationInfo(fileName, date, time);
}
