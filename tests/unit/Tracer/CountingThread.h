#pragma once

#include "detail/EventCount.h"
#include "detail/FlushThread.h"

#include <atomic>

struct OwnEventCount {
    kf::detail::EventCount m_events;
};

/// Counts its flushes, one a second while setWork() says that there is work.
class CountingThread : private OwnEventCount, public kf::detail::FlushThread {
public:
    explicit CountingThread(bool hasWork = true) : FlushThread(m_events), m_hasWork(hasWork) {}
    ~CountingThread() override { stop(); }
    void setWork(bool hasWork) {
        m_hasWork = hasWork;
        m_events.notify();
    }
    std::atomic<int> m_flushes{0};
    std::atomic<int> m_looks{0}; // the calls of hasWork()

protected:
    void flush() override { ++m_flushes; }
    bool hasWork() override {
        ++m_looks;
        return m_hasWork;
    }

private:
    std::atomic<bool> m_hasWork;
};
