#pragma once

#include "detail/LineSlots.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <memory>
#include <string_view>

namespace kf::detail {

/// The queue of the lines that wait to be written, in a few large chunks of memory. A chunk holds the text of
/// its lines, one after the other, and the end offset of each. A line ends in its own "\n" and may contain
/// others; it never crosses chunks. It takes its length plus four bytes. A line is built in its slot, so
/// nothing is copied on the way to the file.
///
/// Thread: the owner's lock guards everything except reserve(), which is lock-free: any thread may call it at
/// any time. The lines are in the order of their reservations. An owner that uses beginLine() and endLine()
/// must have no other threads that reserve.
///
/// LineSlots describes the lock-free part. A chunk's object lives as long as the queue, because a thread may
/// be about to reserve in a chunk that was just closed; its memory may be freed earlier.
class LineQueue {
public:
    using Slot = LineSlots<std::atomic>::Slot;

    LineQueue() = default;
    LineQueue(const LineQueue&) = delete;
    LineQueue& operator=(const LineQueue&) = delete;

    /// Reserves a slot; fails if the current chunk has no room. Any thread, without the lock. In terms of the
    /// memory model, a reservation happens before all later ones. It is sequentially consistent, as is
    /// empty(): EventCount requires that.
    /// @param length  in bytes; at most LONGEST_SLOT
    Slot reserve(std::size_t length) {
        Chunk* const chunk = m_current.load(std::memory_order_acquire);
        return chunk != nullptr ? chunk->slots.reserve(length) : Slot();
    }
    static constexpr std::size_t LONGEST_SLOT = std::size_t{64} * 1024 * 1024;
    /// In bytes; only a single line that needs more makes a larger chunk.
    static constexpr std::size_t LARGEST_CHUNK = std::size_t{2} * 1024 * 1024;

    /// The number of waiting lines. Cancelled slots count until they are removed.
    bool empty() const { return size() == 0; }
    std::size_t size() const;
    /// The number of lines and cancelled slots that were removed so far.
    std::uint64_t removedCount() const { return m_removedCount; }

    /// Reserves a slot, and allocates memory if necessary.
    /// @param length  in bytes; at most LONGEST_SLOT
    Slot makeSlot(std::size_t length);
    /// Appends one line, up to its first NUL byte.
    void push(std::string_view line);
    /// Begins a line: returns where its bytes go, at most `room` of them, none of them NUL. Calling it again
    /// before endLine() drops the line.
    char* beginLine(std::size_t room) {
        const Chunk* const chunk = m_current.load(std::memory_order_relaxed);
        char* const begin = chunk != nullptr ? chunk->slots.beginLine(room) : nullptr;
        return begin != nullptr ? begin : addChunk(room).slots.text();
    }
    /// Ends the line in progress. @param end  behind its last byte
    void endLine(const char* end) { m_current.load(std::memory_order_relaxed)->slots.endLine(end); }
    /// The line in progress, up to `end`.
    std::string_view lineInProgress(const char* end) const;

    /// The unwritten bytes of at most `lines` lines from the front. Stops at the end of a chunk and at a
    /// cancelled slot, so it may be empty. Waits for unfinished lines. Valid until the next push or consume.
    std::string_view front(std::size_t lines);
    /// Removes the first `bytes` bytes, a prefix of front(), and the cancelled slots behind them. The rest of
    /// a partly written line stays. Returns how many lines this completed, at most `lines`: an empty line
    /// behind them needs no byte, but may belong to the next file.
    std::size_t consume(std::size_t bytes, std::size_t lines = SIZE_MAX);
    /// Makes a partly written line start over, for a caller that empties the file or begins another.
    void restoreFrontLine();
    /// From now on each wait for an unfinished line lasts at most a tenth of a second. For a signal handler
    /// that ends the process and may have interrupted the thread that would finish the line. A line that
    /// stays unfinished becomes question marks.
    void limitWaits() { m_areWaitsLimited = true; }

    /// Frees memory; call it after a drain. Of the spare chunks it keeps as many as were opened since the
    /// last call, and at least half.
    void trim();
    /// Whether repeated calls of trim() would free memory if no line came.
    bool hasSpareMemory() const;
    /// The memory of all chunks, in bytes.
    std::size_t bytes() const;

private:
    struct Freeing {
        void operator()(char* memory) const { std::free(memory); }
    };
    // From calloc, which returns fresh zero pages without touching them.
    using Memory = std::unique_ptr<char[], Freeing>;
    struct Chunk {
        explicit Chunk(std::size_t bytes) : slots(bytes) {}

        LineSlots<std::atomic> slots;
        Memory memory;

        // Guarded by the owner's lock:
        std::size_t lines = 0;   // number of lines; valid if the chunk is closed
        std::size_t front = 0;   // index of the first waiting line
        std::size_t written = 0; // offset of the first unwritten byte
        std::size_t touched = 0; // number of ends that may not be 0
    };
    class Wait;

    Chunk& addChunk(std::size_t room);
    std::size_t sizeForNextChunk(std::size_t needed) const;
    void close(Chunk& chunk);
    static void clear(Chunk& chunk);
    void open(Chunk& chunk);
    void reuse(std::list<Chunk>::iterator emptied);
    void retire(std::list<Chunk>& from, std::list<Chunk>::iterator chunk);
    std::size_t linesIn(const Chunk& chunk) const;
    std::size_t waitingIn(const Chunk& chunk) const;
    std::list<Chunk>::iterator firstChunkWithLines();
    std::atomic<Chunk*> m_current{nullptr}; // the last of m_chunks; null if that is closed
    std::list<Chunk> m_chunks;              // chunks with waiting lines; all but the last are closed
    std::list<Chunk> m_spare;               // empty chunks
    std::list<Chunk> m_retired;             // chunks without memory
    bool m_areWaitsLimited = false;
    std::uint64_t m_removedCount = 0;
    // Since the last trim(): how many chunks were opened, and whether the current one held more than
    // FIRST_CHUNK.
    std::size_t m_openedCount = 0;
    bool m_isLastNeeded = false;
};

} // namespace kf::detail
