#include "Tracer.h"

#include "CallMarker.h"
#include "ContractChecks.h"
#include "NamePattern.h"
#include "ThreadId.h"
#include "ThreadTracer.h"
#include "TracerConfigFileParser.h"
#include "TracerFlushThread.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

static const char KF_SOURCE[] = "product/Infrastructure/ProgrammingServices/Tracer/src/Tracer";

std::atomic<Tracer*> Tracer::m_Instance{nullptr};

namespace {

std::uint32_t newFilters() {
    static std::atomic<std::uint32_t> last{0};
    return ++last & 0x7FFFFFFF;
}

std::uint64_t newTracerNumber() {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

/// The calling thread's tracer as it was last found in the registry of the tracer with this number. Only the
/// thread itself changes its entry, so the two agree as long as that tracer lives.
struct ThreadSlot {
    std::uint64_t tracerNumber = 0;
    ThreadTracer* threadTracer = nullptr;
    // The state of the filters that did not permit the thread; 0 when there is none.
    std::uint32_t refusedBy = 0;
};
thread_local ThreadSlot threadSlot;

} // namespace

// The first file of a run is emptied, whatever an earlier run has left there.
Tracer::Tracer() : m_filters(newFilters()), m_number(newTracerNumber()), m_ring("Tracer", true) {}

Tracer::~Tracer() {
    Tracer* self = this;
    m_Instance.compare_exchange_strong(self, nullptr);
    m_flushThread.reset();
}

void Tracer::SetInstance(Tracer* pTheTracer) {
    KF_REQUIRE(pTheTracer != NULL, 106);
    m_Instance.store(pTheTracer, std::memory_order_release);
    KF_ENSURE(m_Instance != NULL, 108);
}

// ---- configuration

void Tracer::ReadConfigFile(const char* fileName) {
    TracerConfigFileParser(fileName, this).parse();
    bool hasFileName = false;
    bool directWrite = false;
    {
        const KFLock lock(m_lock);
        if (!m_enabled)
            return;
        hasFileName = !m_ring.getBaseFileName().empty();
        directWrite = m_directWrite;
    }
    if (!hasFileName) {
        std::puts("please call TRACE_SET_FILE_NAME(\"baseFileName\")");
        std::exit(1);
    }
    if (directWrite)
        return;
    // Without the lock: an earlier flush thread may be waiting for it, and ends before the new one begins.
    m_flushThread = std::make_unique<TracerFlushThread>();
    m_flushThread->start();
}

void Tracer::SetFolderName(std::string folderName) {
    const KFLock lock(m_lock);
    m_ring.setFolderName(std::move(folderName));
}

void Tracer::SetFileName(std::string name) {
    const KFLock lock(m_lock);
    if (m_ring.setBaseName(name))
        UpdateFileName();
}

void Tracer::UpdateFileName() {
    const KFLock lock(m_lock);
    m_ring.nameCurrentFile();
    m_ring.truncateOnNextOpen();
}

void Tracer::setEnabled(bool enabled) {
    const KFLock lock(m_lock);
    m_enabled.store(enabled, std::memory_order_relaxed);
}

void Tracer::setDirectWrite(bool directWrite) {
    const KFLock lock(m_lock);
    m_directWrite = directWrite;
}

void Tracer::setMaximumFiles(std::int32_t files) {
    const KFLock lock(m_lock);
    m_ring.setMaximumFiles(files);
}

void Tracer::setMaximumLinesPerFile(std::int32_t lines) {
    const KFLock lock(m_lock);
    m_ring.setMaximumLinesPerFile(lines);
}

// ---- filters

namespace {

// Drops adjacent duplicates only: the order of the list is the order in which it was written.
void appendPattern(std::vector<std::string>& list, const std::string& pattern) {
    if (list.empty() || list.back() != pattern)
        list.push_back(pattern);
}

bool isCoveredByAny(const std::vector<std::string>& patterns, std::string_view name) {
    return std::any_of(patterns.begin(), patterns.end(),
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
    const KFLock lock(m_lock);
    appendPattern(m_permittedThreads, strThreadName);
    m_filters.store(newFilters(), std::memory_order_relaxed);
}

void Tracer::TraceTheCall(const char* className) {
    KF_REQUIRE(className != NULL, 140);
    const std::string strClassName = textOf(className);
    KF_REQUIRE(!strClassName.empty(), 143);
    const KFLock lock(m_lock);
    const bool forbidden = !strClassName.empty() && strClassName.front() == '-';
    appendPattern(forbidden ? m_forbiddenCalls : m_permittedCalls, strClassName);
    m_filters.store(newFilters(), std::memory_order_relaxed);
}

bool Tracer::isThreadPermittedToPrint(std::string_view name) {
    const KFLock lock(m_lock);
    return isCoveredByAny(m_permittedThreads, name);
}

bool Tracer::isCallPermittedToPrint(std::string_view name) {
    const KFLock lock(m_lock);
    return isCoveredByAny(m_permittedCalls, name);
}

bool Tracer::isCallForbiddenToPrint(std::string_view name) {
    const KFLock lock(m_lock);
    return std::any_of(m_forbiddenCalls.begin(), m_forbiddenCalls.end(), [name](const std::string& entry) {
        return entry.size() >= 2 && isNameHidden(std::string_view(entry).substr(1), name);
    });
}

bool Tracer::isPrinted(CallSite& site) {
    const std::uint32_t filters = m_filters.load(std::memory_order_relaxed);
    const int verdict = site.getVerdict(filters);
    if (verdict >= 0)
        return verdict != 0;
    const bool printed =
        !isCallForbiddenToPrint(site.getMethodName()) && isCallPermittedToPrint(site.getMethodName());
    site.keepVerdict(filters, printed);
    return printed;
}

std::string Tracer::extractMethodName(const char* prettyName) {
    return std::string(CallSite::methodNameIn(prettyName));
}

// ---- threads and calls

ThreadTracer* Tracer::registeredThreadTracer() {
    if (threadSlot.tracerNumber != m_number || threadSlot.threadTracer == nullptr)
        threadSlot = {m_number, m_threadTracers[currentThreadKey()].get()};
    return threadSlot.threadTracer;
}

void Tracer::BeginningOfThread(const char* threadName) {
    const KFLock lock(m_lock);
    KF_REQUIRE(threadName != NULL, 537);
    const std::string name = textOf(threadName);
    if (!isThreadPermittedToPrint(name))
        return;
    std::unique_ptr<ThreadTracer>& entry = m_threadTracers[currentThreadKey()];
    if (entry == nullptr)
        entry = std::make_unique<ThreadTracer>(*this, name);
    threadSlot = {m_number, entry.get()};
}

void Tracer::EndOfThread() {
    const KFLock lock(m_lock);
    m_threadTracers.erase(currentThreadKey());
    threadSlot = {};
}

void Tracer::Enable() {
    switchThread(true);
}

void Tracer::Disable() {
    switchThread(false);
}

void Tracer::switchThread(bool on) {
    const KFLock lock(m_lock);
    if (m_threadTracers.empty())
        return;
    if (ThreadTracer* const threadTracer = registeredThreadTracer())
        threadTracer->setEnabled(on);
}

void Tracer::BeginningOfCall(CallMarker& marker) {
    const KFLock lock(m_lock);
    beginCall(marker);
}

void Tracer::BeginningOfCallIfEnabled(CallMarker& marker) {
    if (threadSlot.tracerNumber == m_number) {
        const std::uint32_t filters = m_filters.load(std::memory_order_relaxed);
        if (threadSlot.threadTracer == nullptr
                ? threadSlot.refusedBy == filters
                : threadSlot.threadTracer->BeginningOfHiddenCall(marker, filters))
            return;
    }
    const KFLock lock(m_lock);
    if (m_enabled.load(std::memory_order_relaxed))
        beginCall(marker);
}

void Tracer::beginCall(CallMarker& marker) {
    ThreadTracer* threadTracer = registeredThreadTracer();
    if (threadTracer == nullptr) {
        BeginningOfThread(("th_" + std::to_string(currentThreadNumber())).c_str());
        threadTracer = registeredThreadTracer();
    }
    if (threadTracer != nullptr)
        threadTracer->BeginningOfCall(marker);
    else
        threadSlot.refusedBy = m_filters.load(std::memory_order_relaxed);
}

void Tracer::EndOfCall(CallMarker& marker) {
    if (!m_enabled.load(std::memory_order_relaxed))
        return;
    if (threadSlot.tracerNumber == m_number && threadSlot.threadTracer == marker.getThreadTracer() &&
        threadSlot.threadTracer->EndOfCallWithoutLine(marker))
        return;
    const KFLock lock(m_lock);
    if (!m_enabled.load(std::memory_order_relaxed))
        return;
    ThreadTracer* const threadTracer = registeredThreadTracer();
    if (threadTracer != nullptr && threadTracer == marker.getThreadTracer())
        threadTracer->EndOfCall(marker);
}

ThreadTracer* Tracer::threadTracerOf(const CallMarker& marker) {
    if (marker.getThreadTracer() == nullptr || !m_enabled.load(std::memory_order_relaxed))
        return nullptr;
    if (threadSlot.tracerNumber == m_number && threadSlot.threadTracer == marker.getThreadTracer())
        return threadSlot.threadTracer;
    const KFLock lock(m_lock);
    if (!m_enabled.load(std::memory_order_relaxed))
        return nullptr;
    ThreadTracer* const threadTracer = registeredThreadTracer();
    return threadTracer == marker.getThreadTracer() ? threadTracer : nullptr;
}

int Tracer::UpdateObjectCount(const CallMarker& marker) {
    const std::string_view className = marker.getClassName();
    if (className.empty())
        return 0;
    const KFLock lock(m_lock);
    auto entry = m_objectCounts.find(className);
    if (entry == m_objectCounts.end())
        entry = m_objectCounts.emplace(className, 0).first;
    entry->second += marker.isConstructor() ? 1 : -1;
    if (entry->second >= 1)
        return entry->second;
    m_objectCounts.erase(entry);
    return 0;
}

// ---- output

void Tracer::PrintString(std::string_view line) {
    const KFLock lock(m_lock);
    if (m_ring.put(line) && m_directWrite)
        WriteOnFile();
}

void Tracer::WriteOnFile() {
    // Unlike the logger's, this lock is released whatever the drain meets.
    const KFLock lock(m_lock);
    m_ring.drain();
}

void Tracer::FinishTracing() {
    const KFLock lock(m_lock);
    m_enabled.store(false, std::memory_order_relaxed);
    if (!m_directWrite)
        m_ring.drainAll([this] { WriteOnFile(); });
}

void Tracer::PrintStacks() {
    const KFLock lock(m_lock);
    for (const auto& [key, threadTracer] : m_threadTracers)
        if (threadTracer != nullptr)
            threadTracer->PrintStack();
}

void Tracer::PrintAllObjectsCount() {
    const KFLock lock(m_lock);
    PrintString("\n-------------- OBJECT(S) COUNT --------------\n");
    for (const auto& [className, count] : m_objectCounts) {
        char countText[32];
        std::snprintf(countText, sizeof countText, ", count = %.6d\n", static_cast<int>(count));
        constexpr std::size_t width = 30;
        const std::string padding(className.size() < width ? width - className.size() : 0, ' ');
        PrintString("Class = " + className + padding + countText);
    }
    PrintString("---------------------------------------------\n");
}
