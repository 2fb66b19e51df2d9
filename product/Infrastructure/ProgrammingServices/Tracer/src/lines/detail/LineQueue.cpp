#include "detail/LineQueue.h"

#include "detail/LimitedWait.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <sched.h>

namespace kf::detail {

namespace {

// Enough for the lines of an ordinary second; more is a burst. From this size on calloc maps fresh pages; it clears a
// smaller block itself, and touches all of its pages: start-until-armed-own-bus shows that.
constexpr std::size_t FIRST_CHUNK = std::size_t{128} * 1024;

constexpr int LONGEST_WAIT = 100; // milliseconds, where waits are limited

} // namespace

/// Waits for a thread that has begun a reservation but not completed it, or is building its line.
class LineQueue::Wait {
public:
    explicit Wait(const LineQueue& queue) : m_queue(queue) {}
    /// Returns false once it has waited long enough.
    bool operator()() {
        if (m_queue.m_areWaitsLimited)
            return m_limited.sleep();
        sched_yield();
        return true;
    }

private:
    const LineQueue& m_queue;
    LimitedWait m_limited{LONGEST_WAIT};
};

// ---- Adding

LineQueue::Slot LineQueue::makeSlot(std::size_t length) {
    Slot slot = reserve(length);
    while (!slot)
        slot = addChunk(length).slots.reserve(length);
    return slot;
}

void LineQueue::push(std::string_view line) {
    const void* const nul = line.empty() ? nullptr : std::memchr(line.data(), '\0', line.size());
    if (nul != nullptr)
        line = line.substr(0, static_cast<std::size_t>(static_cast<const char*>(nul) - line.data()));
    // A line longer than the longest slot is split.
    while (line.size() > LONGEST_SLOT) {
        push(line.substr(0, LONGEST_SLOT));
        line.remove_prefix(LONGEST_SLOT);
    }
    const Slot slot = makeSlot(line.size());
    if (!line.empty())
        std::memcpy(slot.text(), line.data(), line.size());
    slot.finish();
}

std::string_view LineQueue::lineInProgress(const char* end) const {
    const char* const begin = m_current.load(std::memory_order_relaxed)->slots.beginLine(0);
    return {begin, static_cast<std::size_t>(end - begin)};
}

LineQueue::Chunk& LineQueue::addChunk(std::size_t room) {
    if (Chunk* const chunk = m_current.load(std::memory_order_relaxed)) {
        close(*chunk);
        if (chunk->front == chunk->lines) { // it is empty, but too small for this line
            clear(*chunk);
            m_spare.splice(m_spare.begin(), m_chunks, std::prev(m_chunks.end()));
        }
    }
    const std::size_t needed = room + 2 * LineSlots<std::atomic>::END_SIZE;
    const auto spare = std::find_if(m_spare.begin(), m_spare.end(),
                                    [needed](const Chunk& chunk) { return chunk.slots.bytes() >= needed; });
    if (spare != m_spare.end()) {
        m_chunks.splice(m_chunks.end(), m_spare, spare);
    } else {
        const std::size_t bytes = sizeForNextChunk(needed);
        Memory memory(static_cast<char*>(std::calloc(bytes, 1)));
        if (memory == nullptr)
            throw std::bad_alloc();
        const auto retired = std::find_if(m_retired.begin(), m_retired.end(), [bytes](const Chunk& chunk) {
            return chunk.slots.bytes() == bytes;
        });
        if (retired != m_retired.end())
            m_chunks.splice(m_chunks.end(), m_retired, retired);
        else
            m_chunks.emplace_back(bytes);
        m_chunks.back().memory = std::move(memory);
        m_chunks.back().slots.setMemory(m_chunks.back().memory.get());
    }
    ++m_openedCount;
    open(m_chunks.back());
    return m_chunks.back();
}

/// Twice the size of the last chunk: a small burst then takes little memory.
std::size_t LineQueue::sizeForNextChunk(std::size_t needed) const {
    std::size_t bytes = m_chunks.empty() ? FIRST_CHUNK : 2 * m_chunks.back().slots.bytes();
    while (bytes < needed)
        bytes *= 2;
    if (bytes <= LARGEST_CHUNK)
        return bytes;
    return (needed + LARGEST_CHUNK - 1) / LARGEST_CHUNK * LARGEST_CHUNK;
}

/// Closes the chunk: from now on every reservation in it fails.
void LineQueue::close(Chunk& chunk) {
    // The order matters to a signal handler that interrupts this: it must find the lines without waiting.
    chunk.lines = linesIn(chunk);
    m_current.store(nullptr, std::memory_order_relaxed);
    chunk.lines = chunk.slots.close(chunk.front, Wait(*this));
    chunk.touched = chunk.lines + 1;
}

/// Empties a closed chunk whose lines were all written.
void LineQueue::clear(Chunk& chunk) {
    chunk.slots.clear(chunk.written, chunk.touched);
    chunk.written = chunk.touched = 0;
    chunk.lines = 0;
    // A signal handler that interrupts this must find no lines, not the written ones again.
    std::atomic_signal_fence(std::memory_order_seq_cst);
    chunk.front = 0;
}

/// Makes this cleared chunk the one in which slots are reserved.
void LineQueue::open(Chunk& chunk) {
    chunk.slots.open();
    m_current.store(&chunk, std::memory_order_release);
}

// ---- Writing

std::size_t LineQueue::linesIn(const Chunk& chunk) const {
    // Do not decide by m_current: a thread that has read it earlier may reserve until the chunk is closed.
    return chunk.slots.isClosed() ? chunk.lines : chunk.slots.lines(chunk.front, Wait(*this));
}

std::size_t LineQueue::waitingIn(const Chunk& chunk) const {
    const std::size_t lines = linesIn(chunk);
    return lines > chunk.front ? lines - chunk.front : 0;
}

std::size_t LineQueue::size() const {
    std::size_t lines = 0;
    for (const Chunk& chunk : m_chunks)
        lines += waitingIn(chunk);
    return lines;
}

/// The first chunk with lines. It is the first of all, unless a signal handler interrupted the opening or the
/// reuse of a chunk: then an empty one may be in front.
std::list<LineQueue::Chunk>::iterator LineQueue::firstChunkWithLines() {
    return std::find_if(
        m_chunks.begin(), m_chunks.end(), [this](const Chunk& chunk) { return waitingIn(chunk) != 0; });
}

std::string_view LineQueue::front(std::size_t lines) {
    const auto first = firstChunkWithLines();
    if (lines == 0 || first == m_chunks.end())
        return {};
    Chunk& chunk = *first;
    const std::size_t last = chunk.front + std::min(lines, waitingIn(chunk));
    std::size_t end = chunk.written;
    for (std::size_t line = chunk.front; line < last; ++line) {
        if (!chunk.slots.await(line, Wait(*this)))
            chunk.slots.replace(line);
        if (chunk.slots.isCancelled(line))
            break;
        end = chunk.slots.offsetBehind(line);
    }
    return {chunk.slots.text() + chunk.written, end - chunk.written};
}

std::size_t LineQueue::consume(std::size_t bytes, std::size_t lines) {
    const auto first = firstChunkWithLines();
    if (first == m_chunks.end())
        return 0;
    Chunk& chunk = *first;
    chunk.written += bytes;
    const std::size_t last = linesIn(chunk);
    std::size_t completed = 0;
    for (; chunk.front < last; ++chunk.front, ++m_removedCount)
        if (completed < lines && chunk.slots.isWithin(chunk.front, chunk.written))
            ++completed;
        else if (chunk.slots.isCancelled(chunk.front))
            chunk.written = chunk.slots.offsetBehind(chunk.front);
        else
            break;
    if (chunk.front == last)
        reuse(first);
    return completed;
}

void LineQueue::restoreFrontLine() {
    const auto first = firstChunkWithLines();
    if (first != m_chunks.end())
        first->written = first->front == 0 ? 0 : first->slots.offsetBehind(first->front - 1);
}

/// Empties a chunk whose lines were all written, for new lines.
void LineQueue::reuse(std::list<Chunk>::iterator emptied) {
    Chunk& chunk = *emptied;
    if (&chunk != m_current.load(std::memory_order_relaxed)) {
        clear(chunk);
        m_spare.splice(m_spare.begin(), m_chunks, emptied);
        return;
    }
    // The order matters to a signal handler that interrupts this: it must find no lines here and open another
    // chunk.
    chunk.lines = chunk.front;
    m_current.store(nullptr, std::memory_order_relaxed);
    if (!chunk.slots.closeIfEmptied(chunk.front, Wait(*this))) {
        m_current.store(&chunk, std::memory_order_release);
        return;
    }
    m_isLastNeeded = m_isLastNeeded || chunk.written > FIRST_CHUNK;
    chunk.touched = chunk.front + 1;
    clear(chunk);
    open(chunk);
}

// ---- Memory

// The next drain is expected to need as many chunks as the last one.
void LineQueue::trim() {
    const std::size_t kept = std::max(m_openedCount, m_spare.size() / 2);
    while (m_spare.size() > kept)
        retire(m_spare, std::prev(m_spare.end()));
    if (kept == 0 && !m_isLastNeeded && empty() && !m_chunks.empty() &&
        m_chunks.back().slots.bytes() > FIRST_CHUNK &&
        m_chunks.back().slots.closeIfEmptied(m_chunks.back().front, Wait(*this))) {
        m_current.store(nullptr, std::memory_order_relaxed);
        retire(m_chunks, std::prev(m_chunks.end()));
    }
    m_openedCount = 0;
    m_isLastNeeded = false;
}

bool LineQueue::hasSpareMemory() const {
    return !m_spare.empty() || (!m_chunks.empty() && m_chunks.back().slots.bytes() > FIRST_CHUNK);
}

void LineQueue::retire(std::list<Chunk>& from, std::list<Chunk>::iterator chunk) {
    chunk->slots.setMemory(nullptr);
    chunk->memory.reset();
    m_retired.splice(m_retired.end(), from, chunk);
}

std::size_t LineQueue::bytes() const {
    std::size_t sum = 0;
    for (const std::list<Chunk>* const chunks : {&m_chunks, &m_spare})
        for (const Chunk& chunk : *chunks)
            sum += chunk.slots.bytes();
    return sum;
}

} // namespace kf::detail
