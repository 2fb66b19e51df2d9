#pragma once

#include <IOKit/IOKitLib.h>

namespace kf::detail {

/// One walk through an iterator of the device registry, from begin to end. IOIteratorNext() ends early if the
/// registry changes during a walk; then the walk starts over:
///
///     RegistryWalk walk(iterator);
///     do {
///         found.clear();
///         while (const io_registry_entry_t next = walk.next()) {
///             const IOObjectHandle entry(next);
///             ...
///         }
///     } while (walk.beginsAgain());
class RegistryWalk {
public:
    /// The iterator is borrowed.
    explicit RegistryWalk(io_iterator_t iterator) : m_iterator(iterator) {}

    RegistryWalk(const RegistryWalk&) = delete;
    RegistryWalk& operator=(const RegistryWalk&) = delete;

    /// The next entry, which the caller releases; 0 at the end.
    io_registry_entry_t next() const { return IOIteratorNext(m_iterator); }

    /// To be called at the end. True if entries may have been missed: drop what was found, since next()
    /// returns the first entry again. After ten attempts it returns false, which is traced as an error: use
    /// what the last one found. The iterator of a notification never starts over.
    bool beginsAgain() { return !IOIteratorIsValid(m_iterator) && reset(); }

private:
    bool reset();

    const io_iterator_t m_iterator;
    int m_attempts = 1;
};

} // namespace kf::detail
