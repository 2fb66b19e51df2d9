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

/// Lines that wait to be written, in a few large chunks of memory: the text of the lines, one behind the other, and the
/// offset at which each of them ends. A line brings its own "\n", and may hold others; it never crosses chunks. A line
/// takes its bytes and four more. It is built in its slot, so nothing is copied on the way to the file.
///
/// Thread: the owner's lock guards everything but reserve(), which any thread may call at any time: it is lock-free. The
/// order of the lines is that of their reservations. An owner that calls beginLine() and endLine() has no other threads
/// that reserve.
///
/// LineSlots tells what happens without the lock. Chunks live as long as the queue, since a thread may be about to reserve
/// in one that was just closed; their memory does not.
class LineQueue {
public:
    using Slot = LineSlots<std::atomic>::Slot;

    LineQueue() = default;
    LineQueue(const LineQueue&) = delete;
    LineQueue& operator=(const LineQueue&) = delete;

    /// Reserves a slot, if there is memory for it. Any thread, without the lock. A reservation happens before all later
    /// ones, in the memory model's sense. It is sequentially consistent, as is empty(): see EventCount.
    /// @param length  in bytes; at most LONGEST_SLOT
    Slot reserve(std::size_t length) {
        Chunk* const chunk = m_current.load(std::memory_order_acquire);
        return chunk != nullptr ? chunk->slots.reserve(length) : Slot();
    }
    static constexpr std::size_t LONGEST_SLOT = std::size_t{64} * 1024 * 1024;
    /// In bytes, unless a single line needs more.
    static constexpr std::size_t LARGEST_CHUNK = std::size_t{2} * 1024 * 1024;

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
        const Chunk* const chunk = m_current.load(std::memory_order_relaxed);
        char* const place = chunk != nullptr ? chunk->slots.beginLine(room) : nullptr;
        return place != nullptr ? place : addChunk(room).slots.text();
    }
    /// Ends the line that was begun, behind its last byte.
    void endLine(const char* end) { m_current.load(std::memory_order_relaxed)->slots.endLine(end); }
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
    struct Freeing {
        void operator()(char* memory) const { std::free(memory); }
    };
    // From calloc, which gives fresh pages without touching them.
    using Memory = std::unique_ptr<char[], Freeing>;
    struct Chunk {
        explicit Chunk(std::size_t bytes) : slots(bytes) {}

        LineSlots<std::atomic> slots;
        Memory memory;

        // Under the lock:
        std::size_t lines = 0;   // how many it has; valid when it is closed
        std::size_t front = 0;   // index of the first line that waits
        std::size_t written = 0; // offset of the first unwritten byte
        std::size_t touched = 0; // how many ends are not zero any more
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
    std::atomic<Chunk*> m_current{nullptr}; // the last of m_chunks, where slots are reserved; null: closed
    std::list<Chunk> m_chunks;              // with lines that wait; all but the last are closed
    std::list<Chunk> m_spare;               // empty ones
    std::list<Chunk> m_retired;             // whose memory was freed
    bool m_areWaitsLimited = false;
    std::uint64_t m_removedCount = 0;
    // Since the last trim: how many chunks were opened, and whether the last one held more than the first size has room for.
    std::size_t m_openedCount = 0;
    bool m_isLastNeeded = false;
};

} // namespace kf::detail
