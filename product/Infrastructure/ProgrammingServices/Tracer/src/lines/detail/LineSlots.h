#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kf::detail {

template <template <typename> typename Atomic>
class LineSlots;

/// A reserved slot: where a line of known length is built. Two words, so that functions return it in registers.
template <template <typename> typename Atomic>
struct LineSlot {
    LineSlot() = default;
    /// False when the reservation failed.
    explicit operator bool() const { return m_text != nullptr; }
    /// Room for as many bytes as were reserved; none of them may be NUL.
    char* text() const { return m_text; }
    /// Publishes the line. The drain waits for this, so nothing slow may come before it.
    void finish() const { m_end->store(offset(), std::memory_order_release); }
    /// Instead of finish(): the drain passes over the slot.
    void cancel() const { m_end->store(offset() | CANCELLED, std::memory_order_release); }

private:
    static constexpr std::uint32_t UNFINISHED = std::uint32_t{1} << 31;
    static constexpr std::uint32_t CANCELLED = std::uint32_t{1} << 30;

    friend class LineSlots<Atomic>;
    std::uint32_t offset() const { return m_end->load(std::memory_order_relaxed) & ~UNFINISHED; }
    char* m_text = nullptr;
    Atomic<std::uint32_t>* m_end = nullptr;
};

/// The lock-free half of a LineQueue: the slots of one chunk of memory. Any thread reserves one with a single addition and
/// builds its line there. The owner, under its lock, counts the slots, waits for each, and empties the chunk.
///
/// Text grows from the front of the memory, the ends of the lines from its back. One word counts both: in its low half the
/// offset of the first free byte, in its high half the number of lines.
///
///     open, 0 --reserve()--> open, some lines --reserve() that does not fit--> full, so that all later ones fail too
///        ^                         |                                             |
///        |                         v  close(), closeIfEmptied()                  v
///        +--------open()-------- CLOSED, behind which nothing fits <-------------+
///
/// And one word for the end of each line, its offset plus one:
///
///     0 --reserve()--> UNFINISHED --finish()--> written as it stands <--replace()-- 0 or UNFINISHED, in a signal handler
///     |                     +-------cancel()--> CANCELLED: passed over
///     +--the first reserve() that does not fit--> VOID_LINE: here the lines stop
///
/// Until a reservation has stored its end, that end is 0: the drain waits for it as for an unfinished one.
///
/// @tparam Atomic  std::atomic; tests have another, which lets them choose the order of all accesses
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
    /// Zeroed memory of bytes(), or null. While closed.
    void setMemory(char* memory) { m_memory = memory; }
    void open() { m_used.store(0, std::memory_order_release); }
    /// Where no other thread reserves: the place of a line that is at most so long, null where it does not fit.
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
    /// The number of slots. @param wait  returns false when it has waited long enough; @param first  a slot that is there
    template <typename Wait>
    std::size_t lines(std::size_t first, Wait wait) const {
        return linesOf(m_used.load(), first, wait);
    }
    /// From now on every reservation fails. Returns the number of slots.
    template <typename Wait>
    std::size_t close(std::size_t first, Wait wait) {
        return linesOf(m_used.exchange(CLOSED, std::memory_order_acquire), first, wait);
    }
    /// The same if there are `lines` slots, and no more; else false, and all stays as it is.
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
    /// Waits until the slot is finished or cancelled. False when it has waited long enough.
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
    /// Makes an unfinished line question marks. Where its end is not there yet, its length is not known: it becomes empty,
    /// and its bytes, NULs, stand at the head of the next line.
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
    /// Of a slot whose end is there: the offset behind its text.
    std::size_t offsetBehind(std::size_t line) const {
        return (end(line).load(std::memory_order_relaxed) & ~(UNFINISHED | CANCELLED)) - 1;
    }
    bool isCancelled(std::size_t line) const {
        return (end(line).load(std::memory_order_acquire) & (UNFINISHED | CANCELLED)) == CANCELLED;
    }
    /// Whether the slot is finished and ends at that offset or before it.
    bool isWithin(std::size_t line, std::size_t offset) const {
        return end(line).load(std::memory_order_acquire) - 1 <= offset; // an end with a mark, or 0, is not
    }
    /// While closed: zeroes so many bytes of text, and ends, since a reserved end must read as 0 until it is stored, and may
    /// lie where either was.
    void clear(std::size_t textBytes, std::size_t ends) {
        std::memset(m_memory, 0, textBytes);
        for (std::size_t line = 0; line < ends; ++line)
            end(line).store(0, std::memory_order_relaxed);
    }

private:
    static std::size_t offsetOf(std::uint64_t used) { return static_cast<std::uint32_t>(used); }
    static std::size_t lineOf(std::uint64_t used) { return static_cast<std::size_t>(used >> 32); }
    End& end(std::size_t line) const { return *(reinterpret_cast<End*>(m_memory + m_bytes) - 1 - line); }
    /// Keeps one end in reserve, for VOID_LINE.
    bool hasRoom(std::uint64_t before, std::size_t length) const {
        return offsetOf(before) + length + (lineOf(before) + 2) * END_SIZE <= m_bytes;
    }
    /// Whether all reservations that made this count succeeded.
    bool hasNoFailure(std::uint64_t count) const {
        return offsetOf(count) + (lineOf(count) + 1) * END_SIZE <= m_bytes;
    }
    template <typename Wait>
    std::size_t linesOf(std::uint64_t used, std::size_t first, Wait& wait) const {
        if (hasNoFailure(used))
            return lineOf(used);
        for (std::size_t line = first;; ++line) { // to VOID_LINE, which may not be there yet
            std::uint32_t value = 0;
            while ((value = end(line).load(std::memory_order_acquire)) == 0)
                if (!wait())
                    return line;
            if (value == VOID_LINE)
                return line;
        }
    }

    const std::size_t m_bytes; // threads decide by it, without the lock, whether a reservation succeeded
    Atomic<std::uint64_t> m_used{CLOSED};
    char* m_memory = nullptr;
};

} // namespace kf::detail
