#include "detail/LineQueue.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <sched.h>

namespace kf::detail {

namespace {

// Enough for the lines of an ordinary second; more than that is a burst.
constexpr std::size_t FIRST_CHUNK = std::size_t{64} * 1024;

void sleepAMillisecond() {
    const timespec millisecond = {0, 1000000};
    nanosleep(&millisecond, nullptr);
}
constexpr int MAXIMUM_WAITS = 100;

} // namespace

// ---- Adding

/// The first failed reservation stores VOID_LINE in the next free end: that marks where the lines stop.
void LineQueue::markLastLine(Chunk& chunk, std::uint64_t before) {
    if (chunk.hasNoFailure(before))
        chunk.end(lineOf(before)).store(VOID_LINE, std::memory_order_release);
}

LineQueue::Slot LineQueue::makeSlot(std::size_t length) {
    Slot slot = reserve(length);
    while (!slot)
        slot = reserveIn(addChunk(length), length);
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
    const Chunk& chunk = *m_current.load(std::memory_order_relaxed);
    const char* const begin = chunk.text() + offsetOf(chunk.used.load(std::memory_order_relaxed));
    return {begin, static_cast<std::size_t>(end - begin)};
}

LineQueue::Chunk& LineQueue::addChunk(std::size_t room) {
    if (Chunk* const chunk = m_current.load(std::memory_order_relaxed)) {
        close(*chunk);
        if (chunk->front == chunk->lines) { // too small for this one line
            clear(*chunk);
            m_spare.splice(m_spare.begin(), m_chunks, std::prev(m_chunks.end()));
        }
    }
    const std::size_t needed = room + 2 * END_SIZE;
    const auto spare = std::find_if(m_spare.begin(), m_spare.end(),
                                    [needed](const Chunk& chunk) { return chunk.bytes >= needed; });
    if (spare != m_spare.end()) {
        m_chunks.splice(m_chunks.end(), m_spare, spare);
    } else {
        const std::size_t bytes = sizeForNextChunk(needed);
        LargeBuffer memory = makeLargeBuffer(bytes);
        const auto retired = std::find_if(m_retired.begin(), m_retired.end(),
                                          [bytes](const Chunk& chunk) { return chunk.bytes == bytes; });
        if (retired != m_retired.end())
            m_chunks.splice(m_chunks.end(), m_retired, retired);
        else
            m_chunks.emplace_back(bytes);
        m_chunks.back().memory = std::move(memory);
    }
    ++m_begun;
    open(m_chunks.back());
    return m_chunks.back();
}

/// Twice the size of the last one, so that a small burst does not take a large page; at most one such page, unless a
/// single line needs more.
std::size_t LineQueue::sizeForNextChunk(std::size_t needed) const {
    std::size_t bytes = m_chunks.empty() ? FIRST_CHUNK : 2 * m_chunks.back().bytes;
    while (bytes < needed)
        bytes *= 2;
    if (bytes <= LARGE_BUFFER_UNIT)
        return bytes;
    return (needed + LARGE_BUFFER_UNIT - 1) / LARGE_BUFFER_UNIT * LARGE_BUFFER_UNIT;
}

/// From now on every reservation in it fails.
void LineQueue::close(Chunk& chunk) {
    // The order matters to a signal handler that interrupts this: it finds the lines, and waits for none.
    chunk.lines = linesIn(chunk);
    m_current.store(nullptr, std::memory_order_relaxed);
    const std::uint64_t used = chunk.used.exchange(CLOSED, std::memory_order_acquire);
    chunk.lines = chunk.hasNoFailure(used) ? lineOf(used) : linesOfFullChunk(chunk);
    chunk.touched = chunk.lines + 1;
}

/// Empties a closed chunk whose lines were all written. A reserved end must read as 0 until it is stored, and may lie
/// where former lines had their ends or their text: so both are zeroed.
void LineQueue::clear(Chunk& chunk) {
    std::memset(chunk.text(), 0, chunk.written);
    for (std::size_t line = 0; line < chunk.touched; ++line)
        chunk.end(line).store(0, std::memory_order_relaxed);
    chunk.written = chunk.touched = 0;
    chunk.lines = 0;
    // A signal handler in between finds no lines, rather than those that were written already.
    std::atomic_signal_fence(std::memory_order_seq_cst);
    chunk.front = 0;
}

/// From now on slots are reserved in this chunk, which was cleared.
void LineQueue::open(Chunk& chunk) {
    chunk.used.store(0, std::memory_order_release);
    m_current.store(&chunk, std::memory_order_release);
}

// ---- Writing

bool LineQueue::keepWaiting(int waits) const {
    if (m_areWaitsLimited)
        sleepAMillisecond();
    else
        sched_yield();
    return !m_areWaitsLimited || waits < MAXIMUM_WAITS;
}

/// The number of lines of a chunk in which a reservation has failed: those before VOID_LINE. Waits until it is stored.
std::size_t LineQueue::linesOfFullChunk(const Chunk& chunk) const {
    for (std::size_t line = chunk.front;; ++line) {
        int waits = 0;
        while (chunk.end(line).load(std::memory_order_acquire) == 0)
            if (!keepWaiting(++waits))
                return line;
        if (chunk.end(line).load(std::memory_order_acquire) == VOID_LINE)
            return line;
    }
}

std::size_t LineQueue::linesIn(const Chunk& chunk) const {
    if (&chunk != m_current.load(std::memory_order_relaxed))
        return chunk.lines;
    const std::uint64_t used = chunk.used.load();
    return chunk.hasNoFailure(used) ? lineOf(used) : linesOfFullChunk(chunk);
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

/// The first chunk, except in a signal handler that interrupted the begin or the reuse of a chunk: then that one is first,
/// and has no lines.
std::list<LineQueue::Chunk>::iterator LineQueue::firstChunkWithLines() {
    return std::find_if(
        m_chunks.begin(), m_chunks.end(), [this](const Chunk& chunk) { return waitingIn(chunk) != 0; });
}

void LineQueue::await(const Chunk& chunk, std::size_t line) const {
    const std::atomic<std::uint32_t>& end = chunk.end(line);
    const auto isFinished = [&end] {
        const std::uint32_t value = end.load(std::memory_order_acquire);
        return value != 0 && (value & UNFINISHED) == 0;
    };
    for (int waits = 1; !isFinished(); ++waits)
        if (!keepWaiting(waits))
            replaceUnfinished(chunk, line);
}

void LineQueue::replaceUnfinished(const Chunk& chunk, std::size_t line) {
    const std::size_t begin = line == 0 ? 0 : chunk.offsetBehind(line - 1);
    // Where only the addition was done, the line's length is not known: it becomes empty.
    if (chunk.end(line).load(std::memory_order_relaxed) == 0)
        chunk.end(line).store(static_cast<std::uint32_t>(begin + 1) | UNFINISHED, std::memory_order_relaxed);
    const std::size_t behind = chunk.offsetBehind(line);
    if (behind > begin) {
        std::memset(chunk.text() + begin, '?', behind - begin);
        chunk.text()[behind - 1] = '\n';
    }
    chunk.end(line).store(static_cast<std::uint32_t>(behind + 1), std::memory_order_release);
}

std::string_view LineQueue::front(std::size_t lines) {
    const auto first = firstChunkWithLines();
    if (lines == 0 || first == m_chunks.end())
        return {};
    Chunk& chunk = *first;
    const std::size_t last = chunk.front + std::min(lines, waitingIn(chunk));
    std::size_t end = chunk.written;
    for (std::size_t line = chunk.front; line < last; ++line) {
        await(chunk, line);
        if (chunk.isCancelled(line))
            break;
        end = chunk.offsetBehind(line);
    }
    return {chunk.text() + chunk.written, end - chunk.written};
}

std::size_t LineQueue::consume(std::size_t bytes, std::size_t lines) {
    const auto first = firstChunkWithLines();
    if (first == m_chunks.end())
        return 0;
    Chunk& chunk = *first;
    chunk.written += bytes;
    const std::size_t last = linesIn(chunk);
    std::size_t completed = 0;
    for (; chunk.front < last; ++chunk.front, ++m_removedCount) {
        const std::uint32_t end = chunk.end(chunk.front).load(std::memory_order_acquire);
        if (end - 1 <= chunk.written && completed < lines) // false where it is marked, or still 0
            ++completed;
        else if ((end & (UNFINISHED | CANCELLED)) == CANCELLED)
            chunk.written = chunk.offsetBehind(chunk.front);
        else
            break;
    }
    if (chunk.front == last)
        reuse(first);
    return completed;
}

void LineQueue::restoreFrontLine() {
    const auto first = firstChunkWithLines();
    if (first != m_chunks.end())
        first->written = first->front == 0 ? 0 : first->offsetBehind(first->front - 1);
}

/// Makes a chunk whose lines were all written ready for others.
void LineQueue::reuse(std::list<Chunk>::iterator emptied) {
    Chunk& chunk = *emptied;
    if (&chunk != m_current.load(std::memory_order_relaxed)) {
        clear(chunk);
        m_spare.splice(m_spare.begin(), m_chunks, emptied);
        return;
    }
    // The order matters to a signal handler that interrupts this: it finds no lines here, and begins another chunk.
    chunk.lines = chunk.front;
    m_current.store(nullptr, std::memory_order_relaxed);
    if (!closeEmptied(chunk)) {
        m_current.store(&chunk, std::memory_order_release);
        return;
    }
    m_lastWasNeeded = m_lastWasNeeded || chunk.written > FIRST_CHUNK;
    chunk.touched = chunk.front + 1;
    clear(chunk);
    open(chunk);
}

/// Closes it unless a slot was reserved meanwhile: then returns false, and the chunk stays as it is.
bool LineQueue::closeEmptied(Chunk& chunk) const {
    std::uint64_t used = chunk.used.load(std::memory_order_acquire);
    if (chunk.hasNoFailure(used))
        return lineOf(used) == chunk.front &&
               chunk.used.compare_exchange_strong(used, CLOSED, std::memory_order_acquire);
    if (linesOfFullChunk(chunk) != chunk.front)
        return false;
    chunk.used.store(CLOSED, std::memory_order_relaxed);
    return true;
}

// ---- Memory

// The next drain's lines are expected to need as many chunks as the last one's did.
void LineQueue::trim() {
    const std::size_t kept = std::max(m_begun, m_spare.size() / 2);
    while (m_spare.size() > kept)
        retire(m_spare, std::prev(m_spare.end()));
    if (kept == 0 && !m_lastWasNeeded && empty() && !m_chunks.empty() &&
        m_chunks.back().bytes > FIRST_CHUNK) {
        std::uint64_t unused = 0;
        Chunk& chunk = m_chunks.back();
        if (chunk.used.compare_exchange_strong(unused, CLOSED, std::memory_order_acquire)) {
            m_current.store(nullptr, std::memory_order_relaxed);
            retire(m_chunks, std::prev(m_chunks.end()));
        }
    }
    m_begun = 0;
    m_lastWasNeeded = false;
}

bool LineQueue::hasSpareMemory() const {
    return !m_spare.empty() || (!m_chunks.empty() && m_chunks.back().bytes > FIRST_CHUNK);
}

void LineQueue::retire(std::list<Chunk>& from, std::list<Chunk>::iterator chunk) {
    chunk->memory.reset();
    m_retired.splice(m_retired.end(), from, chunk);
}

std::size_t LineQueue::bytes() const {
    std::size_t sum = 0;
    for (const std::list<Chunk>* const chunks : {&m_chunks, &m_spare})
        for (const Chunk& chunk : *chunks)
            sum += chunk.bytes;
    return sum;
}

} // namespace kf::detail
