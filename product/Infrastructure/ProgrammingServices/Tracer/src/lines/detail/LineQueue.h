#pragma once

#include "LargeBuffer.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <string_view>

namespace kf::detail {

/// Finished lines that wait to be written: their bytes one behind the other in a few large chunks, and where
/// each of them ends. A line brings its own "\n", and may hold others; it never crosses chunks. Waiting costs
/// a line its bytes and four more.
///
/// Lines are put together where they stay: nothing is copied between the first chunk and the file.
///
/// Thread: the owner's lock guards everything, except that any thread may reserve() a place for a line at any
/// time, without the lock and without waiting for others; the order of the lines is that of their
/// reservations. An owner whose lines are begun and ended (beginLine, endLine) has no such threads.
///
/// One counter of each chunk holds how much of it is used, and by how many lines: adding to it reserves both
/// the line's bytes and the place of its end. A reservation that does not fit is void, and all that follow
/// it. A chunk is closed by a count that nothing fits behind. Chunks live as long as the queue, because a
/// thread may still be about to add to one that has been closed; their memory does not.
class LineQueue {
public:
    /// Where a line is put together, its length being known.
    class Place {
    public:
        Place() = default;
        /// False when there was no room.
        explicit operator bool() const { return m_text != nullptr; }
        /// For as many bytes as were asked for, none of them NUL.
        char* text() const { return m_text; }
        /// To be called when they are all there, and soon: whoever writes the lines waits for it.
        void finish() const { m_end->store(offset(), std::memory_order_release); }
        /// Instead: there is to be no line here. Its bytes are not looked at.
        void cancel() const { m_end->store(offset() | CANCELLED, std::memory_order_release); }

    private:
        friend class LineQueue;
        std::uint32_t offset() const { return m_end->load(std::memory_order_relaxed) & ~UNFINISHED; }
        // No more than these two: functions return them in registers.
        char* m_text = nullptr;
        std::atomic<std::uint32_t>* m_end = nullptr;
    };

    LineQueue() = default;
    LineQueue(const LineQueue&) = delete;
    LineQueue& operator=(const LineQueue&) = delete;

    /// A place for a line, if the memory that is there has one. Any thread, without the lock. What a thread
    /// did before has happened for those who reserve theirs behind it.
    /// @param length  in bytes; at most LONGEST_PLACE
    Place reserve(std::size_t length) {
        Chunk* const chunk = m_current.load(std::memory_order_acquire);
        return chunk != nullptr ? reserveIn(*chunk, length) : Place();
    }
    static constexpr std::size_t LONGEST_PLACE = std::size_t{64} * 1024 * 1024;

    /// The lines that wait; places that were reserved and forgotten count until they have been passed over.
    bool empty() const { return size() == 0; }
    std::size_t size() const;
    /// How many of these have left the queue since the beginning.
    std::uint64_t removedCount() const { return m_removedCount; }

    /// A place for a line, with more memory if it takes that.
    /// @param length  in bytes; at most LONGEST_PLACE
    Place makePlace(std::size_t length);
    /// Appends one line. It ends at its first NUL byte, if it has one.
    void push(std::string_view line);
    /// Begins a line: where its bytes go, at most `room` of them, none of them NUL. One that was begun and
    /// not ended is forgotten.
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

    /// The unwritten bytes of the first lines, `lines` of them at most; fewer where a chunk ends or a
    /// forgotten place stands; none when that is the first. Waits for a line that is not finished. Valid
    /// until the next push or consume.
    std::string_view front(std::size_t lines);
    /// Removes the first `bytes` bytes, a prefix of front(), and the forgotten places behind them; a line
    /// that was written in part keeps its rest. Returns the number of lines that are now complete, `lines` at
    /// most: an empty line is as complete as the one before it, but may belong into the next file.
    std::size_t consume(std::size_t bytes, std::size_t lines = SIZE_MAX);
    /// A line that was written in part is to be written from its beginning: the file with its first part is
    /// emptied.
    void restoreFrontLine();
    /// From now on front() waits for a tenth of a second, no longer: for a process that ends in a signal
    /// handler, which may have interrupted the very thread that would finish the line. A line that stays
    /// unfinished becomes question marks.
    void limitWaits() { m_areWaitsLimited = true; }

    /// Gives memory back, to be called after a drain: what was not needed since the last call goes by halves.
    void trim();
    /// The memory that it has at present.
    std::size_t bytes() const;

private:
    // A chunk's counter: the offset of its first free byte, and above it the number of its lines.
    static constexpr std::uint64_t ONE_LINE = std::uint64_t{1} << 32;
    static constexpr std::uint64_t CLOSED = std::uint64_t{1} << 31;
    static std::size_t offsetOf(std::uint64_t used) { return static_cast<std::uint32_t>(used); }
    static std::size_t lineOf(std::uint64_t used) { return static_cast<std::size_t>(used >> 32); }

    // The end of a line: its offset and one more, so that 0 is none. It is marked until the line is finished,
    // and when there is to be none.
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
        /// One end is kept free: it tells where the lines of a full chunk end.
        bool hasRoom(std::uint64_t before, std::size_t length) const {
            return offsetOf(before) + length + (lineOf(before) + 2) * END_SIZE <= bytes;
        }
        /// Whether every reservation up to this count was good.
        bool isGood(std::uint64_t count) const {
            return offsetOf(count) + (lineOf(count) + 1) * END_SIZE <= bytes;
        }
        std::size_t offsetBehind(std::size_t line) const {
            return (end(line).load(std::memory_order_relaxed) & ~(UNFINISHED | CANCELLED)) - 1;
        }
        /// Of a finished one.
        bool isCancelled(std::size_t line) const {
            return (end(line).load(std::memory_order_relaxed) & CANCELLED) != 0;
        }

        const std::size_t bytes; // never changes: it decides whether a reservation was good
        std::atomic<std::uint64_t> used{CLOSED};
        LargeBuffer memory;

        // The owner's:
        std::size_t lines = 0;   // how many it has; known once it is closed
        std::size_t front = 0;   // the first waiting one
        std::size_t written = 0; // offset of the first unwritten byte
        std::size_t touched = 0; // ends that are not zero any more
    };

    static Place reserveIn(Chunk& chunk, std::size_t length) {
        if (length > chunk.bytes)
            return Place();
        const std::uint64_t before = chunk.used.fetch_add(ONE_LINE + length, std::memory_order_acq_rel);
        if (!chunk.hasRoom(before, length)) {
            refuse(chunk, before);
            return Place();
        }
        Place place;
        place.m_text = chunk.text() + offsetOf(before);
        place.m_end = &chunk.end(lineOf(before));
        const std::uint32_t offset = static_cast<std::uint32_t>(offsetOf(before) + length + 1);
        place.m_end->store(offset | UNFINISHED, std::memory_order_relaxed);
        return place;
    }
    static void refuse(Chunk& chunk, std::uint64_t before);

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
    static void giveUp(const Chunk& chunk, std::size_t line);

    std::atomic<Chunk*> m_current{nullptr}; // where lines are put together: the last of the waiting ones
    std::list<Chunk> m_chunks;              // of waiting lines; all but the last are closed
    std::list<Chunk> m_spare;
    std::list<Chunk> m_retired; // without memory
    bool m_areWaitsLimited = false;
    std::uint64_t m_removedCount = 0;
    // Since the last trim: the chunks that were begun, and whether the last one was more than the smallest.
    std::size_t m_begun = 0;
    bool m_lastWasNeeded = false;
};

} // namespace kf::detail
