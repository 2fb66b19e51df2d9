#pragma once

#include <atomic>
#include <cstddef>
#include <memory>

namespace kf::detail {

class CallSite;

/// The active calls of one thread, printed or not. It holds their sites, not their markers: a call that ends
/// while the tracer is disabled leaves its entry behind, and a pointer to its marker would dangle.
///
/// Thread: the traced thread changes it without a lock, except for grow(). Others read depth() and siteAt() under the
/// tracer's lock, and may find a call that is just ending.
class CallStack {
public:
    /// One entry is kept free for the crash handler, which must not allocate: a stack is full without it.
    bool isFull() const { return depth() + 1 >= m_capacity; }
    /// Makes room. The tracer's lock is held.
    void grow() {
        const std::size_t capacity = m_capacity == 0 ? 32 : 2 * m_capacity;
        std::unique_ptr<Call[]> calls(new Call[capacity]);
        for (std::size_t i = 0; i < depth(); ++i) {
            calls[i].site.store(siteAt(i), std::memory_order_relaxed);
            calls[i].printed = m_calls[i].printed;
        }
        m_calls = std::move(calls);
        m_capacity = capacity;
    }
    /// Does nothing if not even the entry of the crash handler is free.
    void push(const CallSite& site, bool printed) {
        const std::size_t at = depth();
        if (at == m_capacity)
            return;
        m_calls[at].site.store(&site, std::memory_order_relaxed);
        m_calls[at].printed = printed;
        m_printed += printed ? 1 : 0;
        m_depth.store(at + 1, std::memory_order_release);
    }
    /// Removes the innermost call, if there is one.
    void pop() {
        const std::size_t before = depth();
        if (before == 0)
            return;
        m_printed -= m_calls[before - 1].printed ? 1 : 0;
        m_depth.store(before - 1, std::memory_order_release);
    }

    std::size_t depth() const { return m_depth.load(std::memory_order_acquire); }
    /// The outermost call has index 0.
    const CallSite* siteAt(std::size_t index) const {
        return m_calls[index].site.load(std::memory_order_relaxed);
    }
    /// The number of calls that are printed. Only on the traced thread.
    std::size_t printed() const { return m_printed; }

private:
    struct Call {
        std::atomic<const CallSite*> site;
        bool printed; // only on the traced thread
    };

    std::unique_ptr<Call[]> m_calls;
    std::size_t m_capacity = 0;
    std::atomic<std::size_t> m_depth{0};
    std::size_t m_printed = 0;
};

} // namespace kf::detail
