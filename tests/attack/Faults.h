#pragma once

#include "faults/faults.h"

#include <string>
#include <vector>

namespace Zevo {

/// Switches faults of the machine on and off while the launcher runs. At first everything works; a test
/// switches on one fault at a time. For one launcher at a time.
class Faults {
public:
    /// Creates the file through which it controls the launcher; throws std::runtime_error if it cannot.
    ///
    /// @param folder the folder for that file
    explicit Faults(const std::string& folder);
    ~Faults();
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

    /// The variables that the launcher's environment needs.
    std::vector<std::string> environment() const;
    /// Switches all faults off and sets the counts to 0.
    void reset();

    unsigned long allocations() const { return read(m_page->allocations); }
    /// Makes howMany allocations fail from this one on, counted from 1 since the launcher's start; number 0:
    /// none fails.
    void failAllocation(unsigned long number, unsigned long howMany = 1);
    unsigned long failedAllocations() const { return read(m_page->failed_allocations); }

    /// Makes writing below the folder fail with this errno; 0: it works again.
    void refuseWriting(const std::string& folder, int error);
    unsigned long refusedWrites() const { return read(m_page->refused_writes); }

    /// Makes access to paths below /proc, or /sys, fail with this errno; 0: it works again.
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
