#include "Tracer.h"

#include "CallMarker.h"
#include "ContractChecks.h"
#include "ThreadTracer.h"
#include "TracerConfigFileParser.h"
#include "TracerFlushThread.h"
#include "detail/EventCount.h"
#include "detail/KFLock.h"
#include "detail/LineWriter.h"
#include "detail/NamePattern.h"
#include "detail/ThreadId.h"
#include "detail/TimeStamp.h"
#include "detail/TracerLines.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

using namespace kf::detail;

static const char KF_SOURCE[] = "product/Infrastructure/ProgrammingServices/Tracer/src/Tracer";

std::atomic<Tracer*> Tracer::m_Instance{nullptr};

namespace {

std::uint32_t newFilterGeneration() {
    return newUniqueNumber() & 0x7FFFFFFF;
}

/// Caches the calling thread's entry in the registry of the tracer with this number. Only the thread itself changes
/// its entry, so the cache is valid as long as that tracer lives.
struct ThreadSlot {
    std::uint64_t tracerNumber = 0;
    ThreadTracer* threadTracer = nullptr;
    std::uint32_t refusedGeneration = 0; // filter generation that did not permit the thread; 0: none
};
thread_local ThreadSlot threadSlot;

bool hasRecorded(const ThreadTracer* threadTracer, const CallMarker& marker) {
    return threadTracer != nullptr && threadTracer->getNumber() == marker.getThreadTracerNumber();
}

} // namespace

// The first file of a run is emptied, whatever an earlier run has left in it.
Tracer::Tracer()
    : m_filterGeneration(newFilterGeneration()), m_number(newUniqueNumber()),
      m_ring(std::make_unique<FileRing>("Tracer", true, TracerFlushThread::getWork())),
      m_spareThreadTracer(std::make_unique<ThreadTracer>(*this, "")) {}

Tracer::~Tracer() {
    Tracer* self = this;
    m_Instance.compare_exchange_strong(self, nullptr);
    updateSwitch();
    m_flushThread.reset();
    while (m_threadTracers != nullptr) // one by one: destroying the chain would recurse
        m_threadTracers = std::move(m_threadTracers->next());
}

void Tracer::SetInstance(Tracer* pTheTracer) {
    KF_REQUIRE(pTheTracer != NULL, 106);
    m_Instance.store(pTheTracer);
    updateSwitch();
    TracerFlushThread::getWork().notify();
    KF_ENSURE(m_Instance != NULL, 108);
}

// ---- configuration

void Tracer::ReadConfigFile(const char* fileName) {
    TracerConfigFileParser(fileName, this).parse();
    if (!isEnabled())
        return;
    if (!hasFileName()) {
        std::puts("please call TRACE_SET_FILE_NAME(\"baseFileName\")");
        std::exit(1); // the trace has no file yet, so it cannot be finished
    }
    {
        const Lock lock(*this);
        if (m_directWrite)
            return;
    }
    // Without the lock: this joins an earlier flush thread, which may be waiting for the lock.
    m_flushThread = std::make_unique<TracerFlushThread>();
    const bool isStarted = m_flushThread->start();
    if (!isStarted)
        std::fprintf(stderr, "Tracer : can't start the flush thread, so lines are written at once\n");
    const Lock lock(*this);
    m_isFlushThreadSilent = !isStarted;
}

void Tracer::FinishBeforeExit() {
    Tracer* const tracer = GetInstance();
    if (tracer == nullptr || !tracer->isEnabled() || !tracer->hasFileName())
        return;
    tracer->BeginFile();
    tracer->FinishTracing();
}

/// If this run has not written a line yet, a drain empties the file that an earlier run has left.
void Tracer::BeginFile() {
    const Lock lock(*this);
    if (m_ring->waiting() == 0 && m_ring->getLineCount() == 0)
        WriteOnFile();
}

bool Tracer::hasFileName() {
    const Lock lock(*this);
    return !m_ring->getBaseFileName().empty();
}

void Tracer::SetFolderName(std::string folderName) {
    const Lock lock(*this);
    m_ring->setFolderName(std::move(folderName));
}

void Tracer::SetFileName(std::string name) {
    const Lock lock(*this);
    if (m_ring->setBaseName(name))
        UpdateFileName();
}

void Tracer::UpdateFileName() {
    const Lock lock(*this);
    m_ring->nameCurrentFile();
    m_ring->truncateOnNextOpen();
}

void Tracer::setEnabled(bool enabled) {
    const Lock lock(*this);
    storeEnabled(enabled);
}

void Tracer::storeEnabled(bool enabled) {
    m_enabled.store(enabled);
    if (m_Instance.load() == this)
        updateSwitch();
}

/// Sets the call markers' switch. Two threads may do so at once, for different reasons. Each checks again
/// after its own store, so the last one to store has seen both reasons. This holds because all of these
/// accesses are sequentially consistent.
void Tracer::updateSwitch() {
    const auto isTracing = [] {
        const Tracer* const tracer = m_Instance.load();
        return tracer != nullptr && tracer->m_enabled.load();
    };
    bool stored = false;
    do {
        stored = isTracing();
        CallMarker::ms_isTracing.store(stored);
    } while (stored != isTracing());
}

void Tracer::setDirectWrite(bool directWrite) {
    const Lock lock(*this);
    m_directWrite = directWrite;
}

void Tracer::setPrintTime(bool on) {
    TimeStamp::learnTimeZone();
    m_printTime = on;
}

void Tracer::setMaximumFiles(std::int32_t files) {
    const Lock lock(*this);
    m_ring->setMaximumFiles(files);
}

void Tracer::setMaximumLinesPerFile(std::int32_t lines) {
    const Lock lock(*this);
    m_ring->setMaximumLinesPerFile(lines);
}

// ---- filters

namespace {

// Drops only adjacent duplicates, so that the list keeps the order in which it was written.
void appendPattern(std::vector<std::string>& list, const std::string& pattern) {
    if (list.empty() || list.back() != pattern)
        list.push_back(pattern);
}

bool isCoveredByAny(const std::vector<std::string>& patterns, std::string_view name) {
    return std::any_of(
        patterns.begin(), patterns.end(),
        [name](const std::string& pattern) { return isNameCovered(pattern, name); });
}

std::string textOf(const char* text) {
    return text != nullptr ? text : "";
}

} // namespace

void Tracer::TraceTheThread(const char* threadName) {
    KF_REQUIRE(threadName != NULL, 160);
    const std::string strThreadName = textOf(threadName);
    KF_REQUIRE(!strThreadName.empty(), 162);
    const Lock lock(*this);
    appendPattern(m_permittedThreads, strThreadName);
    m_filterGeneration.store(newFilterGeneration(), std::memory_order_relaxed);
}

void Tracer::TraceTheCall(const char* className) {
    KF_REQUIRE(className != NULL, 140);
    const std::string strClassName = textOf(className);
    KF_REQUIRE(!strClassName.empty(), 143);
    const Lock lock(*this);
    const bool forbidden = !strClassName.empty() && strClassName.front() == '-';
    appendPattern(forbidden ? m_forbiddenCalls : m_permittedCalls, strClassName);
    m_filterGeneration.store(newFilterGeneration(), std::memory_order_relaxed);
}

bool Tracer::isThreadPermittedToPrint(std::string_view name) {
    const Lock lock(*this);
    return isCoveredByAny(m_permittedThreads, name);
}

bool Tracer::isCallPermittedToPrint(std::string_view name) {
    const Lock lock(*this);
    return isCoveredByAny(m_permittedCalls, name);
}

bool Tracer::isCallForbiddenToPrint(std::string_view name) {
    const Lock lock(*this);
    return std::any_of(m_forbiddenCalls.begin(), m_forbiddenCalls.end(), [name](const std::string& entry) {
        return entry.size() >= 2 && isNameHidden(std::string_view(entry).substr(1), name);
    });
}

bool Tracer::isPrinted(CallSite& site) {
    const std::uint32_t generation = m_filterGeneration.load(std::memory_order_relaxed);
    const CallSite::Verdict verdict = site.getVerdict(generation);
    if (verdict != CallSite::Verdict::Unknown)
        return verdict == CallSite::Verdict::Printed;
    const bool printed =
        !isCallForbiddenToPrint(site.getMethodName()) && isCallPermittedToPrint(site.getMethodName());
    site.keepVerdict(generation, printed);
    return printed;
}

std::string Tracer::extractMethodName(const char* prettyName) {
    return std::string(CallSite::methodNameIn(prettyName));
}

// ---- threads and calls

/// The link of the list that holds the thread's tracer, or in which it would be inserted.
std::unique_ptr<ThreadTracer>& Tracer::linkOfThreadTracer(std::uint64_t key) {
    std::unique_ptr<ThreadTracer>* link = &m_threadTracers;
    while (*link != nullptr && (*link)->getKey() < key)
        link = &(*link)->next();
    return *link;
}

ThreadTracer* Tracer::findThreadTracer(std::uint64_t key) {
    ThreadTracer* const found = linkOfThreadTracer(key).get();
    return found != nullptr && found->getKey() == key ? found : nullptr;
}

ThreadTracer* Tracer::registeredThreadTracer() {
    if (threadSlot.tracerNumber != m_number || threadSlot.threadTracer == nullptr)
        threadSlot = {m_number, findThreadTracer(currentThreadKey())};
    return threadSlot.threadTracer;
}

std::unique_ptr<ThreadTracer> Tracer::makeThreadTracer(std::string_view name) {
    if (!isReporting())
        return std::make_unique<ThreadTracer>(*this, name);
    if (m_spareThreadTracer != nullptr)
        m_spareThreadTracer->adoptCurrentThread(name);
    return std::move(m_spareThreadTracer);
}

void Tracer::BeginningOfThread(const char* threadName) {
    const Lock lock(*this);
    KF_REQUIRE(threadName != NULL, 537);
    const std::string_view name = threadName != nullptr ? threadName : "";
    if (!isThreadPermittedToPrint(name))
        return;
    ThreadTracer* threadTracer = findThreadTracer(currentThreadKey());
    if (threadTracer == nullptr) {
        std::unique_ptr<ThreadTracer> made = makeThreadTracer(name);
        if (made == nullptr)
            return;
        threadTracer = made.get();
        std::unique_ptr<ThreadTracer>& link = linkOfThreadTracer(threadTracer->getKey());
        made->next() = std::move(link);
        link = std::move(made);
    }
    threadSlot = {m_number, threadTracer};
}

void Tracer::EndOfThread() {
    const Lock lock(*this);
    threadSlot = {};
    std::unique_ptr<ThreadTracer>& link = linkOfThreadTracer(currentThreadKey());
    if (link == nullptr || link->getKey() != currentThreadKey())
        return;
    const std::unique_ptr<ThreadTracer> ended = std::move(link);
    link = std::move(ended->next());
}

void Tracer::Enable() {
    switchThread(true);
}

void Tracer::Disable() {
    switchThread(false);
}

void Tracer::switchThread(bool on) {
    const Lock lock(*this);
    if (ThreadTracer* const threadTracer = registeredThreadTracer())
        threadTracer->setEnabled(on);
}

// The fast path, without the lock: a known thread, no line to write, nothing to count.
void Tracer::beginCall(CallMarker& marker) {
    if (threadSlot.tracerNumber == m_number) {
        const std::uint32_t generation = m_filterGeneration.load(std::memory_order_relaxed);
        ThreadTracer* const threadTracer = threadSlot.threadTracer;
        const CallSite& site = marker.getSite();
        if (threadTracer == nullptr ? threadSlot.refusedGeneration == generation : !threadTracer->isEnabled())
            return;
        if (threadTracer != nullptr && threadTracer->hasRoomForCall() && !site.hasClassName() &&
            site.getVerdict(generation) == CallSite::Verdict::Hidden) {
            threadTracer->record(marker, false);
            return;
        }
    }
    BeginningOfCall(marker);
}

// The slow path: everything else.
void Tracer::BeginningOfCall(CallMarker& marker) {
    const Lock lock(*this);
    if (!m_enabled.load(std::memory_order_relaxed))
        return;
    ThreadTracer* threadTracer = registeredThreadTracer();
    if (threadTracer == nullptr)
        threadTracer = registerUnnamedThread();
    if (threadTracer != nullptr)
        threadTracer->BeginningOfCall(marker);
}

/// Returns null if the filters do not permit the thread, and caches that.
ThreadTracer* Tracer::registerUnnamedThread() {
    char name[32];
    std::snprintf(name, sizeof name, "th_%d", static_cast<int>(currentThreadNumber()));
    BeginningOfThread(name);
    ThreadTracer* const threadTracer = registeredThreadTracer();
    if (threadTracer == nullptr)
        threadSlot.refusedGeneration = m_filterGeneration.load(std::memory_order_relaxed);
    return threadTracer;
}

void Tracer::EndOfCall(CallMarker& marker) {
    if (!m_enabled.load(std::memory_order_relaxed))
        return;
    if (threadSlot.tracerNumber == m_number && hasRecorded(threadSlot.threadTracer, marker) &&
        threadSlot.threadTracer->EndOfCallWithoutLine(marker))
        return;
    const Lock lock(*this);
    if (!m_enabled.load(std::memory_order_relaxed))
        return;
    ThreadTracer* const threadTracer = registeredThreadTracer();
    if (hasRecorded(threadTracer, marker))
        threadTracer->EndOfCall(marker);
}

ThreadTracer* Tracer::threadTracerOf(const CallMarker& marker) {
    if (marker.getThreadTracer() == nullptr || !m_enabled.load(std::memory_order_relaxed))
        return nullptr;
    if (threadSlot.tracerNumber == m_number && hasRecorded(threadSlot.threadTracer, marker))
        return threadSlot.threadTracer;
    const Lock lock(*this);
    if (!m_enabled.load(std::memory_order_relaxed))
        return nullptr;
    ThreadTracer* const threadTracer = registeredThreadTracer();
    return hasRecorded(threadTracer, marker) ? threadTracer : nullptr;
}

int Tracer::UpdateObjectCount(const CallMarker& marker) {
    const std::string_view className = marker.getClassName();
    if (className.empty())
        return 0;
    const Lock lock(*this);
    auto entry = m_objectCounts.find(className);
    if (entry == m_objectCounts.end())
        entry = m_objectCounts.emplace(className, 0).first;
    // An entry whose count is 0 stays: a crash handler may read the map, so its nodes should hardly ever
    // change.
    entry->second = std::max(entry->second + (marker.isConstructor() ? 1 : -1), 0);
    return entry->second;
}

// ---- output

namespace {

// The lines of a crash report are built here, since nothing may allocate by then.
char reportLine[64 * 1024];

} // namespace

char* Tracer::beginReportLine(std::size_t room) {
    return room <= sizeof reportLine ? reportLine : m_ring->beginLine(room);
}

/// Returns false if the line was too long for the buffer and was built in the queue.
bool Tracer::endReportLine(const char* end) {
    if (end < reportLine || end > reportLine + sizeof reportLine)
        return false;
    m_ring->writeNow({reportLine, static_cast<std::size_t>(end - reportLine)});
    return true;
}

void Tracer::PrintString(std::string_view line) {
    const Lock lock(*this);
    if (isReporting())
        m_ring->writeNow(line);
    else if (m_ring->put(line))
        lineIsQueued();
}

void Tracer::WriteOnFile() {
    // Unlike the logger, this also releases the lock if the file cannot be opened.
    const Lock lock(*this);
    m_ring->drain();
}

void Tracer::FinishTracing() {
    const Lock lock(*this);
    storeEnabled(false);
    if (!m_directWrite)
        m_ring->drainAll([this] { WriteOnFile(); });
    // The last drain may have begun a file, which one more drain would empty.
    if (m_flushThread != nullptr)
        m_flushThread->silence();
    m_isFlushThreadSilent = m_flushThread != nullptr;
}

void Tracer::PrintStacks() {
    const Lock lock(*this);
    for (ThreadTracer* threadTracer = m_threadTracers.get(); threadTracer != nullptr;
         threadTracer = threadTracer->next().get())
        threadTracer->PrintStack();
}

void Tracer::PrintAllObjectsCount() {
    const Lock lock(*this);
    PrintString("\n-------------- OBJECT(S) COUNT --------------\n");
    for (const auto& [className, count] : m_objectCounts) {
        if (count == 0)
            continue;
        constexpr std::string_view title = "Class = ";
        constexpr std::size_t width = 30;
        char countText[32];
        std::snprintf(countText, sizeof countText, ", count = %.6d\n", static_cast<int>(count));
        LineWriter line(beginLine(title.size() + std::max(className.size(), width) + sizeof countText));
        line.put(title);
        line.put(className);
        for (std::size_t at = className.size(); at < width; ++at)
            line.put(' ');
        line.put(countText);
        endLine(line.end());
    }
    PrintString("---------------------------------------------\n");
}

// ---- a crash

namespace {

constexpr int REPORT_LOCK_MILLISECONDS = 1000;

} // namespace

bool Tracer::goesWithoutLock() const {
    const std::uint64_t key = m_threadWithoutLock.load(std::memory_order_relaxed);
    return key != 0 && key == currentThreadKey();
}

void Tracer::BeginReport() {
    m_isLockLost = !acquireWithin(m_lock, REPORT_LOCK_MILLISECONDS);
    m_threadWithoutLock = currentThreadKey();
    if (m_flushThread != nullptr)
        m_flushThread->silence();
    TimeStamp::keepTimeZone();
    m_directWrite = true;
    m_ring->beginReport();
    m_isReporting = true;
}

void Tracer::EndReport() {
    m_isReporting = false;
    if (m_isLockLost)
        return;
    m_threadWithoutLock = 0;
    m_lock.release();
}
