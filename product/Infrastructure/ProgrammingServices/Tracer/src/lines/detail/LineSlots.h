#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kf::detail {

template <template <typename> typename Atomic>
class LineSlots;

/// A reserved slot, in which a line of known length is built. It has two words, so functions return it in
/// registers.
template <template <typename> typename Atomic>
struct LineSlot {
    LineSlot() = default;
    /// False when the reservation failed.
    explicit operator bool() const { return m_text != nullptr; }
    /// The reserved bytes. The caller fills them all, none with NUL.
    char* text() const { return m_text; }
    /// Publishes the line. The drain waits for this call, so nothing slow may come before it.
    void finish() const { m_end->store(offset(), std::memory_order_release); }
    /// Call this instead of finish() to make the drain skip the slot.
    void cancel() const { m_end->store(offset() | CANCELLED, std::memory_order_release); }

private:
    static constexpr std::uint32_t UNFINISHED = std::uint32_t{1} << 31;
    static constexpr std::uint32_t CANCELLED = std::uint32_t{1} << 30;

    friend class LineSlots<Atomic>;
    std::uint32_t offset() const { return m_end->load(std::memory_order_relaxed) & ~UNFINISHED; }
    char* m_text = nullptr;
    Atomic<std::uint32_t>* m_end = nullptr;
};

/// The lock-free half of a LineQueue: the slots of one chunk of memory. Any thread reserves one with a single
/// atomic addition and builds its line there. The owner, under its lock, counts the slots, waits for each,
/// and empties the chunk.
///
/// Text grows from the front of the memory, the ends of the lines from its back. One word holds both
/// counters: the offset of the first free byte in its low half, the number of lines in its high half.
///
///     open, 0 --reserve()--> open, some lines --reserve() that does not fit--> full: all later ones fail, too
///        ^                         |                                             |
///        |                         v  close(), closeIfEmptied()                  v
///        +--------open()--------- CLOSED: every reserve() fails <----------------+
///
/// One more word per line holds its end, as an offset plus one:
///
///     0 --reserve()--> UNFINISHED --finish()--> finished <--replace()-- 0 or UNFINISHED, in a signal handler
///     |                     +-------cancel()--> CANCELLED: the drain skips it
///     +--the first reserve() that does not fit--> VOID_LINE: here the lines stop
///
/// An end is 0 until the reservation has stored it; the drain waits for it as for an unfinished line.
///
/// @tparam Atomic  std::atomic; tests use one of their own, with which they control the order of all accesses
template <template <typename> typename Atomic>
class LineSlots {
    using End = Atomic<std::uint32_t>;
    static constexpr std::uint64_t ONE_LINE = std::uint64_t{1} << 32;
    static constexpr std::uint64_t CLOSED = std::uint64_t{1} << 31;
    static constexpr std::uint32_t UNFINISHED = LineSlot<Atomic>::UNFINISHED;
    static constexpr std::uint32_t CANCELLED = LineSlot<Atomic>::CANCELLED;
    static constexpr std::uint32_t VOID_LINE = UINT32_MAX;

public:
    using Slot = LineSlot<Atomic>;
    static constexpr std::size_t END_SIZE = sizeof(End);
    static_assert(END_SIZE == 4 && End::is_always_lock_free && Atomic<std::uint64_t>::is_always_lock_free,
                  "a line's end has four bytes, and a signal handler must not wait for an atomic's lock");

    /// Closed, and without memory. @param bytes  a multiple of END_SIZE, below 2^30
    explicit LineSlots(std::size_t bytes) : m_bytes(bytes) {}

    // ---- any thread

    Slot reserve(std::size_t length) {
        if (length > m_bytes)
            return Slot();
        const std::uint64_t before = m_used.fetch_add(ONE_LINE + length);
        if (!hasRoom(before, length)) {
            if (hasNoFailure(before))
                end(lineOf(before)).store(VOID_LINE, std::memory_order_release);
            return Slot();
        }
        Slot slot;
        slot.m_text = m_memory + offsetOf(before);
        slot.m_end = &end(lineOf(before));
        const std::uint32_t offset = static_cast<std::uint32_t>(offsetOf(before) + length + 1);
        slot.m_end->store(offset | UNFINISHED, std::memory_order_relaxed);
        return slot;
    }

    // ---- the owner

    std::size_t bytes() const { return m_bytes; }
    char* text() const { return m_memory; }
    /// Sets the memory: bytes() zero bytes, or null. Only while closed.
    void setMemory(char* memory) { m_memory = memory; }
    void open() { m_used.store(0, std::memory_order_release); }
    /// Only where no other thread reserves: where a line of at most `room` bytes goes; null if it does not
    /// fit.
    char* beginLine(std::size_t room) const {
        const std::uint64_t used = m_used.load(std::memory_order_relaxed);
        return hasRoom(used, room) ? m_memory + offsetOf(used) : nullptr;
    }
    void endLine(const char* behind) {
        const std::uint64_t used = m_used.load(std::memory_order_relaxed);
        const std::uint32_t offset = static_cast<std::uint32_t>(behind - m_memory);
        end(lineOf(used)).store(offset + 1, std::memory_order_relaxed);
        m_used.store(used + ONE_LINE + (offset - offsetOf(used)), std::memory_order_relaxed);
    }
    bool isClosed() const { return (m_used.load() & CLOSED) != 0; }
    /// The number of slots.
    /// @param first  index at which to start counting, at most the number of slots
    /// @param wait   called to wait for another thread; returns false to give up
    template <typename Wait>
    std::size_t lines(std::size_t first, Wait wait) const {
        return linesOf(m_used.load(), first, wait);
    }
    /// Makes all later reservations fail. Returns the number of slots.
    template <typename Wait>
    std::size_t close(std::size_t first, Wait wait) {
        return linesOf(m_used.exchange(CLOSED, std::memory_order_acquire), first, wait);
    }
    /// As close(), but only if there are exactly `lines` slots; otherwise returns false and changes nothing.
    template <typename Wait>
    bool closeIfEmptied(std::size_t lines, Wait wait) {
        std::uint64_t used = m_used.load(std::memory_order_acquire);
        if (hasNoFailure(used))
            return lineOf(used) == lines &&
                   m_used.compare_exchange_strong(used, CLOSED, std::memory_order_acquire);
        if (linesOf(used, lines, wait) != lines)
            return false;
        m_used.store(CLOSED, std::memory_order_relaxed);
        return true;
    }
    /// Waits until the slot is finished or cancelled. Returns false if `wait` gave up.
    template <typename Wait>
    bool await(std::size_t line, Wait wait) const {
        for (;;) {
            const std::uint32_t value = end(line).load(std::memory_order_acquire);
            if (value != 0 && (value & UNFINISHED) == 0)
                return true;
            if (!wait())
                return false;
        }
    }
    /// Fills an unfinished line with question marks. If its end was not stored yet, its length is not known:
    /// then the line becomes empty, and its bytes, NULs, go to the beginning of the next line.
    void replace(std::size_t line) {
        const std::size_t begin = line == 0 ? 0 : offsetBehind(line - 1);
        const bool isKnown = end(line).load(std::memory_order_relaxed) != 0;
        const std::size_t behind = isKnown ? offsetBehind(line) : begin;
        if (behind > begin) {
            std::memset(m_memory + begin, '?', behind - begin);
            m_memory[behind - 1] = '\n';
        }
        end(line).store(static_cast<std::uint32_t>(behind + 1), std::memory_order_release);
    }
    /// The offset behind the slot's text. Its end must have been stored.
    std::size_t offsetBehind(std::size_t line) const {
        return (end(line).load(std::memory_order_relaxed) & ~(UNFINISHED | CANCELLED)) - 1;
    }
    bool isCancelled(std::size_t line) const {
        return (end(line).load(std::memory_order_acquire) & (UNFINISHED | CANCELLED)) == CANCELLED;
    }
    /// Whether the slot is finished and its text ends at `offset` or before.
    bool isWithin(std::size_t line, std::size_t offset) const {
        // A marked end is larger than any offset, and so is 0 - 1.
        return end(line).load(std::memory_order_acquire) - 1 <= offset;
    }
    /// Zeroes this many bytes of text and this many ends, which may lie where new ones will: an end must read
    /// as 0 until its reservation stores it. Only while closed.
    void clear(std::size_t textBytes, std::size_t ends) {
        std::memset(m_memory, 0, textBytes);
        for (std::size_t line = 0; line < ends; ++line)
            end(line).store(0, std::memory_order_relaxed);
    }

private:
    static std::size_t offsetOf(std::uint64_t used) { return static_cast<std::uint32_t>(used); }
    static std::size_t lineOf(std::uint64_t used) { return static_cast<std::size_t>(used >> 32); }
    End& end(std::size_t line) const { return *(reinterpret_cast<End*>(m_memory + m_bytes) - 1 - line); }
    /// Leaves one end free, for VOID_LINE.
    bool hasRoom(std::uint64_t before, std::size_t length) const {
        return offsetOf(before) + length + (lineOf(before) + 2) * END_SIZE <= m_bytes;
    }
    /// Whether all reservations that `count` counts succeeded.
    bool hasNoFailure(std::uint64_t count) const {
        return offsetOf(count) + (lineOf(count) + 1) * END_SIZE <= m_bytes;
    }
    template <typename Wait>
    std::size_t linesOf(std::uint64_t used, std::size_t first, Wait& wait) const {
        if (hasNoFailure(used))
            return lineOf(used);
        for (std::size_t line = first;; ++line) { // up to VOID_LINE, which may not be stored yet
            std::uint32_t value = 0;
            while ((value = end(line).load(std::memory_order_acquire)) == 0)
                if (!wait())
                    return line;
            if (value == VOID_LINE)
                return line;
        }
    }

    const std::size_t m_bytes; // read without the lock, to decide whether a reservation succeeded
    Atomic<std::uint64_t> m_used{CLOSED};
    char* m_memory = nullptr;
};

} // namespace kf::detail
