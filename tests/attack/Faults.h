#pragma once

#include "faults/faults.h"

#include <string>
#include <vector>

namespace Zevo {

/// Faults of the machine that the launcher runs on, which come and go while it runs. One at a time; everything works
/// until a wish is made. Belongs to one launcher at a time.
class Faults {
public:
    /// @param folder where the file that the launcher shares is put; throws std::runtime_error when it cannot be
    explicit Faults(const std::string& folder);
    ~Faults();
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

    /// What the launcher's environment needs.
    std::vector<std::string> environment() const;
    /// Everything works again, and the counts are 0.
    void reset();

    unsigned long allocations() const { return read(m_page->allocations); }
    /// The allocation with this number, counted from the launcher's start, fails, and the next ones up to so many.
    void failAllocation(unsigned long number, unsigned long howMany = 1);
    unsigned long failedAllocations() const { return read(m_page->failed_allocations); }

    /// Nothing can be written below the folder, with this errno; 0: it can again.
    void refuseWriting(const std::string& folder, int error);
    unsigned long refusedWrites() const { return read(m_page->refused_writes); }

    /// /proc, or /sys, cannot be looked at, with this errno; 0: it can again.
    void refuseProc(int error) { write(m_page->proc_error, error); }
    void refuseSys(int error) { write(m_page->sys_error, error); }
    unsigned long refusedLooks() const { return read(m_page->refused_looks); }

    void setClockAhead(long seconds) { write(m_page->clock_shift, seconds); }

    void spoilEvents(event_fault fault) { write(m_page->event_fault, static_cast<int>(fault)); }
    unsigned long touchedEvents() const { return read(m_page->touched_events); }

private:
    template <class Field>
    static Field read(const Field& field) {
        return __atomic_load_n(&field, __ATOMIC_SEQ_CST);
    }
    template <class Field, class Value>
    static void write(Field& field, Value value) {
        __atomic_store_n(&field, static_cast<Field>(value), __ATOMIC_SEQ_CST);
    }

    std::string m_path;
    faults* m_page = nullptr;
};

} // namespace Zevo
