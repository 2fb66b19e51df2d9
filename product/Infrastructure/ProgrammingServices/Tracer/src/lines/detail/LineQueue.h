#pragma once

#include "detail/LargeBuffer.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <string_view>

namespace kf::detail {

/// Lines that wait to be written, in a few large chunks of memory: the text of the lines, one behind the other, and the
/// offset at which each of them ends. A line brings its own "\n", and may hold others; it never crosses chunks. A line
/// takes its bytes and four more. It is built in its slot, so nothing is copied on the way to the file.
///
/// Thread: the owner's lock guards everything but reserve(), which any thread may call at any time: it is lock-free. The
/// order of the lines is that of their reservations. An owner that calls beginLine() and endLine() has no other threads
/// that reserve.
///
/// Each chunk has one counter for bytes and lines. One atomic addition to it reserves both a line's bytes and its end. A
/// reservation that does not fit fails, and so do all later ones of that chunk. A closed chunk has a counter behind which
/// nothing fits. Chunks live as long as the queue, since a thread may be about to reserve in one that was just closed;
/// their memory does not.
class LineQueue {
public:
    /// A reserved slot: where a line of known length is built.
    class Slot {
    public:
        Slot() = default;
        /// False when the reservation failed.
        explicit operator bool() const { return m_text != nullptr; }
        /// Room for as many bytes as were reserved; none of them may be NUL.
        char* text() const { return m_text; }
        /// Publishes the line. The drain waits for this, so nothing slow may come before it.
        void finish() const { m_end->store(offset(), std::memory_order_release); }
        /// Instead of finish(): the drain passes over the slot.
        void cancel() const { m_end->store(offset() | CANCELLED, std::memory_order_release); }

    private:
        friend class LineQueue;
        std::uint32_t offset() const { return m_end->load(std::memory_order_relaxed) & ~UNFINISHED; }
        // Two words, so that functions return a slot in registers.
        char* m_text = nullptr;
        std::atomic<std::uint32_t>* m_end = nullptr;
    };

    LineQueue() = default;
    LineQueue(const LineQueue&) = delete;
    LineQueue& operator=(const LineQueue&) = delete;

    /// Reserves a slot, if there is memory for it. Any thread, without the lock. A reservation happens before all later
    /// ones, in the memory model's sense. It is sequentially consistent, as is empty(): see EventCount.
    /// @param length  in bytes; at most LONGEST_SLOT
    Slot reserve(std::size_t length) {
        Chunk* const chunk = m_current.load(std::memory_order_acquire);
        return chunk != nullptr ? reserveIn(*chunk, length) : Slot();
    }
    static constexpr std::size_t LONGEST_SLOT = std::size_t{64} * 1024 * 1024;

    /// The number of lines that wait. Cancelled slots count until they are removed.
    bool empty() const { return size() == 0; }
    std::size_t size() const;
    /// The number of lines, and of cancelled slots, that were removed since the beginning.
    std::uint64_t removedCount() const { return m_removedCount; }

    /// Reserves a slot, and allocates memory for it where that is needed.
    /// @param length  in bytes; at most LONGEST_SLOT
    Slot makeSlot(std::size_t length);
    /// Appends one line. It ends at its first NUL byte, if it has one.
    void push(std::string_view line);
    /// Begins a line: returns where its bytes go, at most `room` of them, none of them NUL. To begin another one before
    /// endLine() drops it.
    char* beginLine(std::size_t room) {
        Chunk* chunk = m_current.load(std::memory_order_relaxed);
        if (chunk == nullptr || !chunk->hasRoom(chunk->used.load(std::memory_order_relaxed), room))
            chunk = &addChunk(room);
        return chunk->text() + offsetOf(chunk->used.load(std::memory_order_relaxed));
    }
    /// Ends the line that was begun, behind its last byte.
    void endLine(const char* end) {
        Chunk& chunk = *m_current.load(std::memory_order_relaxed);
        const std::uint64_t used = chunk.used.load(std::memory_order_relaxed);
        const std::uint32_t offset = static_cast<std::uint32_t>(end - chunk.text());
        chunk.end(lineOf(used)).store(offset + 1, std::memory_order_relaxed);
        chunk.used.store(used + ONE_LINE + (offset - offsetOf(used)), std::memory_order_relaxed);
    }
    /// The line that was begun, so far.
    std::string_view lineInProgress(const char* end) const;

    /// The unwritten bytes of the first lines, `lines` of them at most; fewer where a chunk ends or a slot was cancelled;
    /// none where the first slot was. Waits for a line that is not finished. Valid until the next push or consume.
    std::string_view front(std::size_t lines);
    /// Removes the first `bytes` bytes, a prefix of front(), and the cancelled slots behind them. A line that was written
    /// in part keeps its rest. Returns the number of lines that were completed by this, `lines` at most: an empty line
    /// behind the last one needs no byte, but may belong into the next file.
    std::size_t consume(std::size_t bytes, std::size_t lines = SIZE_MAX);
    /// Writes a line that was written in part again from its beginning, for a caller that empties the file.
    void restoreFrontLine();
    /// From now on front() waits a tenth of a second at most: for a signal handler that ends the process, and may have
    /// interrupted the very thread that would finish the line. A line that stays unfinished becomes question marks.
    void limitWaits() { m_areWaitsLimited = true; }

    /// Frees memory; to be called after a drain. Of the chunks that were not needed since the last call, half are freed.
    void trim();
    /// Whether trim() would free memory in the end, if it was called again and again and no line came.
    bool hasSpareMemory() const;
    /// The memory of all chunks.
    std::size_t bytes() const;

private:
    // A chunk's counter: in the low half the offset of its first free byte, in the high half the number of its lines.
    static constexpr std::uint64_t ONE_LINE = std::uint64_t{1} << 32;
    static constexpr std::uint64_t CLOSED = std::uint64_t{1} << 31;
    static std::size_t offsetOf(std::uint64_t used) { return static_cast<std::uint32_t>(used); }
    static std::size_t lineOf(std::uint64_t used) { return static_cast<std::size_t>(used >> 32); }

    // The end of a line: its offset plus one, so that 0 means not reserved yet. UNFINISHED is set until finish(),
    // CANCELLED by cancel(). VOID_LINE stands behind the last line of a full chunk.
    static constexpr std::uint32_t UNFINISHED = std::uint32_t{1} << 31;
    static constexpr std::uint32_t CANCELLED = std::uint32_t{1} << 30;
    static constexpr std::uint32_t VOID_LINE = UINT32_MAX;
    static constexpr std::size_t END_SIZE = sizeof(std::atomic<std::uint32_t>);
    static_assert(END_SIZE == 4 && std::atomic<std::uint32_t>::is_always_lock_free &&
                      std::atomic<std::uint64_t>::is_always_lock_free,
                  "a line's end has four bytes, and a signal handler must not wait for an atomic's lock");

    /// Text grows from the front of the memory, the ends of the lines from its back.
    struct Chunk {
        /// @param size  in bytes, a multiple of an end's size, below 2^30
        explicit Chunk(std::size_t size) : bytes(size) {}

        char* text() const { return memory.get(); }
        std::atomic<std::uint32_t>& end(std::size_t line) const {
            return *(reinterpret_cast<std::atomic<std::uint32_t>*>(memory.get() + bytes) - 1 - line);
        }
        /// Keeps one end in reserve, for the VOID_LINE of a full chunk.
        bool hasRoom(std::uint64_t before, std::size_t length) const {
            return offsetOf(before) + length + (lineOf(before) + 2) * END_SIZE <= bytes;
        }
        /// Whether all reservations that made this count succeeded.
        bool hasNoFailure(std::uint64_t count) const {
            return offsetOf(count) + (lineOf(count) + 1) * END_SIZE <= bytes;
        }
        std::size_t offsetBehind(std::size_t line) const {
            return (end(line).load(std::memory_order_relaxed) & ~(UNFINISHED | CANCELLED)) - 1;
        }
        /// Of a finished one.
        bool isCancelled(std::size_t line) const {
            return (end(line).load(std::memory_order_relaxed) & CANCELLED) != 0;
        }

        const std::size_t
            bytes; // constant: threads decide by it, without the lock, whether a reservation succeeded
        std::atomic<std::uint64_t> used{CLOSED};
        LargeBuffer memory;

        // Under the lock:
        std::size_t lines = 0;   // how many it has; valid when it is closed
        std::size_t front = 0;   // index of the first line that waits
        std::size_t written = 0; // offset of the first unwritten byte
        std::size_t touched = 0; // how many ends are not zero any more
    };

    static Slot reserveIn(Chunk& chunk, std::size_t length) {
        if (length > chunk.bytes)
            return Slot();
        const std::uint64_t before = chunk.used.fetch_add(ONE_LINE + length);
        if (!chunk.hasRoom(before, length)) {
            markLastLine(chunk, before);
            return Slot();
        }
        Slot slot;
        slot.m_text = chunk.text() + offsetOf(before);
        slot.m_end = &chunk.end(lineOf(before));
        const std::uint32_t offset = static_cast<std::uint32_t>(offsetOf(before) + length + 1);
        slot.m_end->store(offset | UNFINISHED, std::memory_order_relaxed);
        return slot;
    }
    static void markLastLine(Chunk& chunk, std::uint64_t before);

    Chunk& addChunk(std::size_t room);
    std::size_t sizeForNextChunk(std::size_t needed) const;
    void close(Chunk& chunk);
    static void clear(Chunk& chunk);
    void open(Chunk& chunk);
    void reuse(std::list<Chunk>::iterator emptied);
    bool closeEmptied(Chunk& chunk) const;
    void retire(std::list<Chunk>& from, std::list<Chunk>::iterator chunk);
    std::size_t linesIn(const Chunk& chunk) const;
    std::size_t waitingIn(const Chunk& chunk) const;
    std::list<Chunk>::iterator firstChunkWithLines();
    std::size_t linesOfFullChunk(const Chunk& chunk) const;
    void await(const Chunk& chunk, std::size_t line) const;
    bool keepWaiting(int waits) const;
    static void replaceUnfinished(const Chunk& chunk, std::size_t line);

    std::atomic<Chunk*> m_current{nullptr}; // the last of m_chunks, where slots are reserved; null: closed
    std::list<Chunk> m_chunks;              // with lines that wait; all but the last are closed
    std::list<Chunk> m_spare;               // empty ones
    std::list<Chunk> m_retired;             // whose memory was freed
    bool m_areWaitsLimited = false;
    std::uint64_t m_removedCount = 0;
    // Since the last trim: how many chunks were begun, and whether the first size would not have done for the last one.
    std::size_t m_begun = 0;
    bool m_lastWasNeeded = false;
};

} // namespace kf::detail
